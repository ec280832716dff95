# Run by cpack once the files of the packages lie ready: strips the libraries the way Debian does, which takes away more
# than CPack's own stripping.
file(GLOB_RECURSE libraries LIST_DIRECTORIES OFF "${CPACK_TEMPORARY_DIRECTORY}/*.so.*")
foreach(library IN LISTS libraries)
    if(NOT IS_SYMLINK "${library}")
        execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note "${library}"
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
