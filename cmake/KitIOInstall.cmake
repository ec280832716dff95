# Package files for users: find_package(KitIO CONFIG) and pkg-config kitio.

include(CMakePackageConfigHelpers)

set(kitio_config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KitIO")

install(EXPORT KitIOTargets NAMESPACE KitIO:: DESTINATION "${kitio_config_dir}")

configure_package_config_file(cmake/KitIOConfig.cmake.in "${CMAKE_CURRENT_BINARY_DIR}/KitIOConfig.cmake"
    INSTALL_DESTINATION "${kitio_config_dir}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/KitIOConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${CMAKE_CURRENT_BINARY_DIR}/KitIOConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/KitIOConfigVersion.cmake"
    DESTINATION "${kitio_config_dir}")

# A program that links the static libraries has to link what these use inside, too.
set(kitio_libs "-lKitIO -lKitFoundation -lKitHash -lKitException -lKitFilesystem -lKitPointer -lboost_thread")
set(kitio_requires "")
if(NOT BUILD_SHARED_LIBS)
    string(APPEND kitio_libs " -lboost_stacktrace_basic")
    set(kitio_requires "libglog icu-i18n icu-uc libcrypto")
endif()
# The prefix is told by the place of the file itself, so that an installation may be moved.
set(kitio_pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH kitio_pc_prefix "/${kitio_pc_dir}" "/")
string(REGEX REPLACE "/$" "" kitio_pc_prefix "${kitio_pc_prefix}")
configure_file(cmake/kitio.pc.in "${CMAKE_CURRENT_BINARY_DIR}/kitio.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/kitio.pc" DESTINATION "${kitio_pc_dir}")
