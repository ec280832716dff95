# CPack builds two Debian packages, one per component of the installation: libkitio<n>, which programs need to run, and
# libkitio-dev, which is needed to build programs. scripts/package builds and checks them.

set(kitio_debian_dir "${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian")
file(STRINGS "${kitio_debian_dir}/changelog" kitio_debian_version LIMIT_COUNT 1)
if(NOT kitio_debian_version MATCHES "^kitio \\((${KitIO_VERSION})-([0-9]+)\\)")
    message(FATAL_ERROR "cmake/debian/changelog does not begin with KitIO ${KitIO_VERSION}")
endif()
set(kitio_debian_revision ${CMAKE_MATCH_2})
set(kitio_package_runtime "libkitio${kitio_soversion}")
set(kitio_package_development "libkitio-dev")

# kitio_install_compressed(<component> <file> <name>): installs <file>, compressed, as <name>.gz among the documents of
# the component's package.
function(kitio_install_compressed component file name)
    set(compressed "${CMAKE_CURRENT_BINARY_DIR}/debian/${name}.gz")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    execute_process(COMMAND gzip -9 -n -c "${file}" OUTPUT_FILE "${compressed}" COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${compressed}"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${kitio_package_${component}}" COMPONENT ${component})
endfunction()

file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/debian")
foreach(component IN ITEMS runtime development)
    set(package "${kitio_package_${component}}")
    kitio_install_compressed(${component} "${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md" changelog)
    kitio_install_compressed(${component} "${kitio_debian_dir}/changelog" changelog.Debian)
    install(FILES "${kitio_debian_dir}/copyright"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${package}" COMPONENT ${component})
    install(FILES "${kitio_debian_dir}/${component}.lintian-overrides" RENAME "${package}"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "input/output building blocks: streams, pipes and message channels")
set(CPACK_PACKAGE_CONTACT "KitIO maintainers <maintainers@kitio.invalid>")
set(CPACK_PRE_BUILD_SCRIPTS "${kitio_debian_dir}/strip.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${kitio_debian_revision})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# dpkg-shlibdeps reads from the libraries what the package depends on. The shlibs file lists the names under which other
# packages depend on it.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${kitio_package_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
get_property(kitio_libraries GLOBAL PROPERTY KITIO_LINK_ORDER)
foreach(library IN LISTS kitio_libraries)
    get_target_property(directory ${library} BINARY_DIR)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${directory}")
endforeach()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${kitio_debian_dir}/triggers")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "Reference-counted byte streams behind a few small interfaces, bit readers and
writers, named pipes, and a message channel that joins two processes.
.
This package contains the libraries that programs need.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${kitio_package_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${kitio_package_runtime} (= ${KitIO_VERSION}-${kitio_debian_revision})"
    "libboost${kitio_boost_release}-dev" "libboost-thread${kitio_boost_release}-dev")
# For programs that configure the log, as the README shows. The headers do not need it.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "libgoogle-glog-dev")
# For the examples that need more than KitIO.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS
    "libcli11-dev, libssl-dev, libboost-iostreams${kitio_boost_release}-dev")
list(JOIN CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", " CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Reference-counted byte streams behind a few small interfaces, bit readers and
writers, named pipes, and a message channel that joins two processes.
.
This package contains what is needed to build programs: the C++17 headers,
the package files for CMake and pkg-config, and example programs.")

include(CPack)
