# cmake -DLINKER_DEF=... -DDEF=... -DIMPLIB=... -DDLL=... -DDLLTOOL=... -P StdcallImportLib.cmake
#
# The linker's own import library of a DLL linked with --kill-at names the
# functions without their stdcall decoration, so callers cannot link
# against it. This writes the .def with the decorated names (the form that
# import-library tools expect for __stdcall exports) and makes the import
# library from it with dlltool --kill-at: callers link _Name@N, the DLL is
# asked for Name.
file(STRINGS ${LINKER_DEF} lines)
set(text "LIBRARY ${DLL}\nEXPORTS\n")
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]+[A-Za-z_0-9]+ = ([A-Za-z_0-9]+@[0-9]+)")
    string(APPEND text "    ${CMAKE_MATCH_1}\n")
  elseif(line MATCHES "^[ \t]+([A-Za-z_0-9]+@[0-9]+)")
    string(APPEND text "    ${CMAKE_MATCH_1}\n")
  endif()
endforeach()
file(WRITE ${DEF} "${text}")
execute_process(COMMAND ${DLLTOOL} --kill-at --def ${DEF} --dllname ${DLL} --output-lib ${IMPLIB}
                RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "dlltool could not make ${IMPLIB}")
endif()
