# How KitIO's targets are made. Everything is set on the targets: nothing here changes a project that contains KitIO. A
# target that links KitIO gets only the include directories, C++17 and the libraries that the public headers use.

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

# The number of the binary interface, the 0 of libKitIO.so.0. docs/versions.md describes which changes need a new one.
# Another release of Boost does, so a build with a release that is not Debian's gets a name of its own.
set(kitio_soversion 0)
set(kitio_file_version ${KitIO_VERSION})
set(kitio_soversion_boost 1.81)
if(NOT kitio_boost_release STREQUAL kitio_soversion_boost)
    string(APPEND kitio_soversion "-boost${kitio_boost_release}")
    string(APPEND kitio_file_version "-boost${kitio_boost_release}")
endif()

# KitIO makes the names of pipes with tempnam, on purpose. The GNU linker warns that it only returns a name.
check_linker_flag(CXX "-Wl,--no-warnings" KITIO_LINKER_CAN_BE_QUIET)
function(kitio_accept_tempnam target)
    if(KITIO_LINKER_CAN_BE_QUIET)
        target_link_options(${target} PRIVATE "-Wl,--no-warnings")
    endif()
endfunction()

# Debian uses these flags since release 13, where the compiler supports them for the machine. A large stack frame cannot
# jump over the guard page, and indirect calls and returns reach only marked targets. Not for debugging or sanitizers.
set(kitio_hardening "")
foreach(flag IN ITEMS -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "KITIO_COMPILER_KNOWS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
        list(APPEND kitio_hardening ${flag})
    endif()
endforeach()
function(kitio_harden target)
    if(NOT KITIO_SANITIZE)
        target_compile_options(${target} PRIVATE "$<$<NOT:$<CONFIG:Debug>>:${kitio_hardening}>")
    endif()
endfunction()

# kitio_configure_target(<target>): sets language, warnings and instrumentation, for libraries and programs.
function(kitio_configure_target target)
    target_compile_features(${target} PRIVATE cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        COMPILE_WARNING_AS_ERROR ${KITIO_WARNINGS_AS_ERRORS})
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)

    if(KITIO_SANITIZE)
        # Some optimization and complete stack frames: fast enough for every day, with readable reports.
        target_compile_options(${target} PRIVATE
            -fsanitize=${KITIO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
        target_link_options(${target} PRIVATE -fsanitize=${KITIO_SANITIZE})
    endif()
    if(KITIO_BUILD_FUZZERS)
        # Reports to the fuzzer which branches an input took. Only the programs of fuzz/ also get its main.
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
        target_link_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
    if(KITIO_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -O0)
        target_link_options(${target} PRIVATE --coverage)
    endif()
endfunction()

# kitio_add_library(<target> HEADERS <public header>... SOURCES <source or private header>...)
# The public headers define the include path and are installed. all_verify_interface_header_sets compiles each alone.
function(kitio_add_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES")
    add_library(${target} ${arg_SOURCES})
    add_library(KitIO::${target} ALIAS ${target})
    target_sources(${target} PUBLIC
        FILE_SET HEADERS BASE_DIRS "${CMAKE_CURRENT_SOURCE_DIR}" FILES ${arg_HEADERS})

    kitio_configure_target(${target})
    target_compile_features(${target} PUBLIC cxx_std_17)
    # Throw locations, log lines and call stacks name a file by its path from the repository's root, wherever that is.
    # A compiler cache may pass paths that are relative to the build directory.
    target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${KitIO_SOURCE_DIR}/=")
    file(RELATIVE_PATH from_build "${CMAKE_BINARY_DIR}" "${KitIO_SOURCE_DIR}")
    string(REGEX REPLACE "/$" "" from_build "${from_build}")
    if(from_build)
        target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${from_build}/=")
    endif()
    # No program replaces the library's functions with others of the same name, so the library can call them directly.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    target_link_options(${target} PRIVATE "-Wl,-Bsymbolic-functions")
    kitio_harden(${target})
    set_target_properties(${target} PROPERTIES
        VERSION ${kitio_file_version}
        SOVERSION ${kitio_soversion}
        DEFINE_SYMBOL ""
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON
        INSTALL_RPATH "\$ORIGIN"
        VERIFY_INTERFACE_HEADER_SETS ${KitIO_IS_TOP_LEVEL})
    # A library comes before the libraries that it uses, which were added earlier.
    get_property(link_order GLOBAL PROPERTY KITIO_LINK_ORDER)
    set_property(GLOBAL PROPERTY KITIO_LINK_ORDER ${target} ${link_order})
    kitio_install_library(${target})
endfunction()

# kitio_add_header_library(<target> [EXPORT_NAME <name>] [BASE_DIR <directory>] HEADERS <public header>...)
# Users link KitIO::<name>, where <name> is by default that of the target. The headers are given, and included, by their
# paths from the base directory, by default the current one.
function(kitio_add_header_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORT_NAME;BASE_DIR" "HEADERS")
    if(NOT arg_EXPORT_NAME)
        set(arg_EXPORT_NAME ${target})
    endif()
    set(base_dir "${CMAKE_CURRENT_SOURCE_DIR}/${arg_BASE_DIR}")
    list(TRANSFORM arg_HEADERS PREPEND "${base_dir}/")
    add_library(${target} INTERFACE)
    add_library(KitIO::${arg_EXPORT_NAME} ALIAS ${target})
    target_sources(${target} INTERFACE
        FILE_SET HEADERS BASE_DIRS "${base_dir}" FILES ${arg_HEADERS})
    target_compile_features(${target} INTERFACE cxx_std_17)
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${arg_EXPORT_NAME}
        VERIFY_INTERFACE_HEADER_SETS ${KitIO_IS_TOP_LEVEL})
    kitio_install_library(${target})
endfunction()

# kitio_add_bridge(<name> HEADERS <public header in <name>/Tarsel<name>/>... [LINKS <target>...])
# An optional, header-only library over the core: the target KitIO::<name>, which is the component <name> of the package
# KitIO. LINKS are the targets that its headers need besides the core.
function(kitio_add_bridge name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;LINKS")
    list(TRANSFORM arg_HEADERS PREPEND "Tarsel${name}/")
    kitio_add_header_library(Kit${name} EXPORT_NAME ${name} BASE_DIR ${name} HEADERS ${arg_HEADERS})
    target_link_libraries(Kit${name} INTERFACE KitIO ${arg_LINKS})
endfunction()

# kitio_install_library(<target>): installs a library, also a header-only one, as a component of the package KitIO.
# Programs need "runtime" to run; "development" is needed to build them.
function(kitio_install_library target)
    if(KITIO_INSTALL)
        install(TARGETS ${target} EXPORT KitIOTargets
            LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
            ARCHIVE COMPONENT development
            FILE_SET HEADERS COMPONENT development)
    endif()
endfunction()

# kitio_configure_program(<target>): applies the settings of KitIO's own programs, the tests and the examples.
function(kitio_configure_program target)
    kitio_configure_target(${target})
    if(NOT BUILD_SHARED_LIBS)
        kitio_accept_tempnam(${target})
    endif()
endfunction()

# kitio_add_program(<target> <source>...): a test or an example, linked like any user's program.
function(kitio_add_program target)
    add_executable(${target} ${ARGN})
    kitio_configure_program(${target})
    target_link_libraries(${target} PRIVATE KitIO::KitIO)
endfunction()
