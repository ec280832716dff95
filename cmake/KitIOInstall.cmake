# What an installation holds beside the libraries and their headers: the package files for find_package(KitIO CONFIG)
# and pkg-config, the README and the examples. The package files use paths relative to themselves, so an installation
# can be moved as a whole. Only a directory that the builder gives as an absolute path must stay where it is.

include(CMakePackageConfigHelpers)

set(kitio_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KitIO")

install(EXPORT KitIOTargets NAMESPACE KitIO:: DESTINATION "${kitio_config_dir}" COMPONENT development)

configure_package_config_file(cmake/KitIOConfig.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/KitIOConfig.cmake"
    INSTALL_DESTINATION "${kitio_config_dir}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/KitIOConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${CMAKE_CURRENT_BINARY_DIR}/KitIOConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/KitIOConfigVersion.cmake"
    DESTINATION "${kitio_config_dir}"
    COMPONENT development)

# A program that links the static libraries must also link the libraries that these use.
get_property(kitio_libs GLOBAL PROPERTY KITIO_LINK_ORDER)
list(TRANSFORM kitio_libs PREPEND "-l")
list(APPEND kitio_libs -lboost_thread)
set(kitio_requires "")
if(NOT BUILD_SHARED_LIBS)
    list(APPEND kitio_libs -lboost_stacktrace_basic)
    set(kitio_requires "libglog icu-i18n icu-uc libcrypto")
endif()
list(JOIN kitio_libs " " kitio_libs)

# The file finds the prefix from its own place, unless it is installed outside the prefix.
set(kitio_pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${kitio_pc_dir}")
    set(kitio_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH kitio_pc_prefix "/${kitio_pc_dir}" "/")
    string(REGEX REPLACE "/$" "" kitio_pc_prefix "\${pcfiledir}/${kitio_pc_prefix}")
endif()
foreach(dir IN ITEMS LIBDIR INCLUDEDIR)
    set(kitio_pc_${dir} "${CMAKE_INSTALL_${dir}}")
    if(NOT IS_ABSOLUTE "${kitio_pc_${dir}}")
        string(PREPEND kitio_pc_${dir} "\${prefix}/")
    endif()
endforeach()
configure_file(cmake/kitio.pc.in "${CMAKE_CURRENT_BINARY_DIR}/kitio.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/kitio.pc" DESTINATION "${kitio_pc_dir}" COMPONENT development)

# Users build the examples where they are installed: in share/doc/kitio, unless the builder chooses another directory.
if("$CACHE{CMAKE_INSTALL_DOCDIR}" STREQUAL "")
    set(CMAKE_INSTALL_DOCDIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/kitio")
endif()
install(FILES README.md DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT development)
install(DIRECTORY examples DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT development
    FILES_MATCHING PATTERN "CMakeLists.txt" PATTERN "*.cpp" PATTERN "*.h" PATTERN "Faults" EXCLUDE)
