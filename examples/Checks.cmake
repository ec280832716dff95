# What only KitIO's own build does with the examples: its warnings and sanitizers, and the tests that run the programs.

get_property(kitio_example_targets DIRECTORY PROPERTY BUILDSYSTEM_TARGETS)
add_custom_target(kitio_examples DEPENDS ${kitio_example_targets})
foreach(target IN LISTS kitio_example_targets)
    kitio_configure_program(${target})
endforeach()

# Where a test is judged by its output, ctest ignores the exit status.
add_test(NAME examples.quick_start COMMAND sh -c "\"$1\" && echo Success" sh "$<TARGET_FILE:quick_start>")
set_tests_properties(examples.quick_start PROPERTIES
    PASS_REGULAR_EXPRESSION "^5 77 200 in 3 bytes\n.*No such file or directory\nSuccess\n$"
    TIMEOUT 300)
add_test(NAME examples.own_stream COMMAND own_stream)
set_tests_properties(examples.own_stream PROPERTIES TIMEOUT 300)

if(NOT TARGET kitio_example_support)
    return()
endif()

if(KITIO_SANITIZE STREQUAL "thread")
    # ThreadSanitizer does not understand the fences of Boost.Asio. Its locks order the same.
    target_compile_definitions(kitio_example_support PUBLIC BOOST_ASIO_DISABLE_FENCED_BLOCK)
endif()
if(TARGET gzip_file)
    # GCC 12 sees an overlap in what it inlines of Boost where there is none.
    target_compile_options(gzip_file PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
endif()

# The checks load this module into a program to make its system calls fail. It has no sanitizers because it is loaded
# before them.
add_library(kitio_fail_calls MODULE Faults/FailCalls.cpp)
target_compile_features(kitio_fail_calls PRIVATE cxx_std_17)
target_compile_options(kitio_fail_calls PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
target_link_libraries(kitio_fail_calls PRIVATE ${CMAKE_DL_LIBS})
set_target_properties(kitio_fail_calls PROPERTIES COMPILE_WARNING_AS_ERROR ${KITIO_WARNINGS_AS_ERRORS} PREFIX "")
add_dependencies(kitio_examples kitio_fail_calls)

# Checks from outside: check_<name>.sh <directory of the programs> <text to work on>. Most of their time goes into
# starting programs, which takes a while on a busy machine.
set(kitio_checked_examples ${programs} target_file)
foreach(name IN LISTS kitio_checked_examples)
    add_test(NAME examples.${name}
        COMMAND "${CMAKE_CURRENT_SOURCE_DIR}/check_${name}.sh" "${CMAKE_CURRENT_BINARY_DIR}"
                "${KitIO_SOURCE_DIR}/README.md")
    set_tests_properties(examples.${name} PROPERTIES TIMEOUT 300)
endforeach()

# Some of the many reads and writes that can fail, chosen at random in each run: the seed is printed. The timeout is for
# a busy machine and sanitizers; the script's own is 5 seconds. Not for coverage builds, because the files in which they
# count would be among those that fail.
find_package(Python3 COMPONENTS Interpreter QUIET)
if(Python3_FOUND AND NOT KITIO_COVERAGE)
    add_test(NAME examples.failing_calls
        COMMAND "${Python3_EXECUTABLE}" "${KitIO_SOURCE_DIR}/scripts/fail-examples" "${CMAKE_CURRENT_BINARY_DIR}"
                --runs 15 --timeout 30)
    set_tests_properties(examples.failing_calls PROPERTIES TIMEOUT 600)
endif()
