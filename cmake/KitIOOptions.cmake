# The options of the build. By default, a project that adds KitIO with add_subdirectory gets only the libraries.

option(KITIO_BUILD_TESTS "Build the tests" ${KitIO_IS_TOP_LEVEL})
option(KITIO_BUILD_EXAMPLES "Build the example programs" ${KitIO_IS_TOP_LEVEL})
option(KITIO_BUILD_BENCHMARKS "Build the benchmarks" ${KitIO_IS_TOP_LEVEL})
option(KITIO_BUILD_FUZZERS "Build the fuzzers with libFuzzer (Clang); otherwise they replay their corpora" OFF)
option(KITIO_INSTALL "Add the install target" ${KitIO_IS_TOP_LEVEL})
option(KITIO_PACKAGES "Prepare the Debian packages that cpack builds (scripts/package)" OFF)
option(KITIO_WARNINGS_AS_ERRORS "Treat compiler warnings in KitIO as errors" OFF)
option(KITIO_COVERAGE "Count which lines run (GCC)" OFF)

set(kitio_sanitizers address undefined thread "address,undefined")
set(KITIO_SANITIZE "" CACHE STRING "Sanitizers for KitIO's own targets, one of: ${kitio_sanitizers}; or empty for none")
set_property(CACHE KITIO_SANITIZE PROPERTY STRINGS "" ${kitio_sanitizers})
if(KITIO_SANITIZE AND NOT KITIO_SANITIZE IN_LIST kitio_sanitizers)
    message(FATAL_ERROR "KITIO_SANITIZE is '${KITIO_SANITIZE}', not one of: ${kitio_sanitizers}")
endif()
if(KITIO_BUILD_FUZZERS AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "KITIO_BUILD_FUZZERS needs Clang with its libFuzzer, not ${CMAKE_CXX_COMPILER_ID}")
endif()

# Libraries are shared unless the builder chooses otherwise. Inside another project this is a plain variable: a cache
# entry would also change that project's own libraries.
if(KitIO_IS_TOP_LEVEL)
    option(BUILD_SHARED_LIBS "Build shared libraries" ON)
elseif(NOT DEFINED BUILD_SHARED_LIBS)
    set(BUILD_SHARED_LIBS ON)
endif()
