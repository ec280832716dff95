// Uses the libraries as a user would: writes bits, reads them back and digests the bytes that hold them.

#include <iostream>
#include <string>

#include <TarselException/GetCallStack.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/KitIO.h>
#include <TarselStdStream/InputStreambuf.h>

int main()
{
    using namespace Tarsel::Core;

    std::string packed;
    DataBitOutput writer(DataOutputString::Create(&packed));
    writer.WriteBits(77, 7);
    writer.WriteBits(5, 9);
    writer.Flush();

    DataBitInput reader(DataInputString::Create(&packed));
    const auto first = reader.ReadBits(7);
    InputStreambuf buffer(DataInputString::Create(&packed));
    std::istream bytes(&buffer);
    std::cout << first << ' ' << reader.ReadBits(9) << ", " << MD5Generate(DataInputString::Create(&packed), "packed")
              << ", date of nothing '" << GetFileCreationDateString("/no/such/file") << "', call stack "
              << (Tarsel::GetCallStack().empty() ? "empty" : "shown") << ", first byte " << bytes.get() << '\n';
}
