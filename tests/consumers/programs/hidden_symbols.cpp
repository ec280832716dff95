// Compiled with hidden visibility. The program must still share the library's type information, or exceptions are not
// caught and casts fail.

#include <iostream>

#include <boost/exception/get_error_info.hpp>

#include <TarselIO/KitIO.h>

namespace
{

using namespace Tarsel::Core;

template <typename Exception>
const char* CatchAs()
{
    try
    {
        DataInputFile::Create("/no/such/file");
    }
    catch (const Exception& error)
    {
        return boost::get_error_info<Tarsel::ErrorFilename>(error) != nullptr ? "with its records" : "bare";
    }
    return "no exception";
}

template <typename Interface>
const char* CastTo(IByteDataInput* input)
{
    return dynamic_cast<Interface*>(input) != nullptr ? "yes" : "no";
}

}  // namespace

int main()
{
    std::cout << CatchAs<IOException>() << ", " << CatchAs<CoreException>() << ", " << CatchAs<Tarsel::Exception>();
    const Tarsel::SP<IByteDataInput> input = DataInputFF::Create("name");
    std::cout << "; casts: " << CastTo<DataInputFF>(input.get()) << ' ' << CastTo<IDataInput>(input.get()) << ' '
              << CastTo<Tarsel::ILockable>(input.get()) << ' ' << CastTo<IDataOutput>(input.get()) << '\n';
}
