# Run by CPack on what it installed, before it builds the package: Debian
# ships manual pages compressed with gzip.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.[1-9]")
list(FILTER pages INCLUDE REGEX "/share/man/man[1-9]/[^/]+$")
foreach(page IN LISTS pages)
  execute_process(COMMAND gzip -9n "${page}" RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "could not compress ${page}")
  endif()
endforeach()
