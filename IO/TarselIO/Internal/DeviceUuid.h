#pragma once

// Boost.Uuid reads "/dev/urandom" only with its POSIX provider. By default, it asks the kernel another way on Linux.
// The choice changes the inline code of the classes below. A program that uses Boost.Uuid in another way has another
// version of them, which a static link would mix up with ours. So ours have names of their own.
#define BOOST_UUID_RANDOM_PROVIDER_FORCE_POSIX
#define random_provider_base tarsel_device_provider_base
#define random_provider tarsel_device_provider
#define random_generator_pure tarsel_device_generator
#include <boost/uuid/random_generator.hpp>
#undef random_generator_pure
#undef random_provider
#undef random_provider_base
#undef BOOST_UUID_RANDOM_PROVIDER_FORCE_POSIX

namespace Tarsel::Core
{

/// Draws random UUIDs from the random device, which it keeps open.
using DeviceUuidGenerator = boost::uuids::random_generator;

}  // namespace Tarsel::Core
