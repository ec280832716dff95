// Packs three numbers into 3 bytes, reads them back, and prints what an exception carries.

#include <iostream>
#include <string>

#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/get_error_info.hpp>

#include <TarselIO/KitIO.h>

int main()
{
    using namespace Tarsel::Core;

    std::string packed;
    DataBitOutput writer(DataOutputString::Create(&packed));
    writer.WriteBits(5, 3);
    writer.WriteBits(77, 7);
    writer.WriteBits(200, 8);
    writer.Flush();

    const auto stream = DataInputString::Create(&packed);
    DataBitInput reader(stream);
    std::cout << reader.ReadBits(3) << ' ' << reader.ReadBits(7) << ' ' << reader.ReadBits(8);
    {
        // Threads that share a stream hold this lock; here there is only one thread.
        const Tarsel::AutoLock guard(stream.get());
        stream->SetPosition(0);
        const std::string content = StreamToBufferString(stream.get());
        std::cout << " in " << content.size() << " bytes\n";
    }

    try
    {
        DataInputFile::Create("/no/such/file");
    }
    catch (const Tarsel::Exception& error)
    {
        std::cout << boost::diagnostic_information(error);  // every record, with the place of the throw
        if (const auto* reason = boost::get_error_info<Tarsel::ErrorDetails>(error))
        {
            std::cout << "System error: " << *reason << '\n';
        }
    }
}
