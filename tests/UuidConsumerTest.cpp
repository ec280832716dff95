// A program that uses Boost.Uuid with Boost's defaults, which the library does not. In a static build the linker keeps
// one version of each inline function, so a clash would show here.

#include <set>
#include <string>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>

#include <TarselIO/IPCTools.h>

#if defined(BOOST_UUID_RANDOM_PROVIDER_FORCE_POSIX)
#error "the library's choice of a random provider has reached a program"
#endif

TEST(ProgramWithItsOwnUuids, KeepsItsRandomProvider)
{
    EXPECT_STREQ(boost::uuids::detail::random_provider().name(), "getrandom");

    boost::uuids::random_generator generator;
    std::set<std::string> texts;
    for (int i = 0; i < 100; ++i)
    {
        texts.insert(Tarsel::Core::GeneratePipeName());
        texts.insert(boost::uuids::to_string(generator()));
    }
    EXPECT_EQ(texts.size(), 200U);
}
