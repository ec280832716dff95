// Packs three numbers into 3 bytes, reads them back and shows what an error tells.

#include <iostream>
#include <string>

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

    DataBitInput reader(DataInputString::Create(&packed));
    std::cout << reader.ReadBits(3) << ' ' << reader.ReadBits(7) << ' ' << reader.ReadBits(8) << " in " << packed.size()
              << " bytes\n";
    try
    {
        DataInputFile::Create("/no/such/file");
    }
    catch (const IOException& error)
    {
        std::cout << *boost::get_error_info<Tarsel::ErrorFilename>(error) << ": "
                  << *boost::get_error_info<Tarsel::ErrorDetails>(error) << '\n';
    }
}
