# These are Debian packages, which scripts/bootstrap installs. Boost and glog are found by their own package files:
# CMake's module for Boost guesses.

find_package(Boost 1.81 CONFIG REQUIRED COMPONENTS headers thread stacktrace_basic)
find_package(glog 0.6 CONFIG REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(ICU REQUIRED COMPONENTS i18n uc)

# Boost's types are part of the binary interface, so each build of KitIO belongs to one release (docs/versions.md).
set(kitio_boost_release "${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR}")
