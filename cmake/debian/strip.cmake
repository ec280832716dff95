# cpack runs this once the files of the packages are in place. It strips the libraries as Debian does: that removes
# more than CPack's own stripping.
file(GLOB_RECURSE libraries LIST_DIRECTORIES OFF "${CPACK_TEMPORARY_DIRECTORY}/*.so.*")
foreach(library IN LISTS libraries)
    if(NOT IS_SYMLINK "${library}")
        execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note "${library}"
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
