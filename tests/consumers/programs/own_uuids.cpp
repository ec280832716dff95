// Uses Boost.Uuid with Boost's own choice of a random provider. The library uses a different one, and the two must stay
// apart also in a static link: otherwise this program would get the library's provider.

#include <iostream>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <TarselIO/IPCTools.h>

#if defined(BOOST_UUID_RANDOM_PROVIDER_FORCE_POSIX)
#error "the library's choice of a random provider has reached a program"
#endif

int main()
{
    const std::string name = Tarsel::Core::GeneratePipeName();
    const std::string uuid = boost::uuids::to_string(boost::uuids::random_generator()());
    std::cout << boost::uuids::detail::random_provider().name() << ' ' << uuid.size() << ' ' << (name != uuid) << '\n';
}
