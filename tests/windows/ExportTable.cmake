# cmake -DOBJDUMP=... -DDLL=... -DHEADER=... -P ExportTable.cmake
#
# The DLL's export table holds exactly the functions that the public header
# declares, each under its undecorated name: none missing, none with a
# stdcall or C++ decoration, nothing else.
execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${OBJDUMP} cannot read ${DLL}")
endif()
# Brackets would upset CMake's lists: the rows "[   0] Name" become "<   0> Name".
string(REPLACE "[" "<" dump "${dump}")
string(REPLACE "]" ">" dump "${dump}")
string(REGEX MATCH "<Ordinal/Name Pointer> Table\n([^\n]+\n)+" table "${dump}")
string(REGEX MATCHALL "<[ 0-9]+> [^\n]+" rows "${table}")
set(exported)
foreach(row IN LISTS rows)
  string(REGEX REPLACE "<[ 0-9]+> " "" name "${row}")
  list(APPEND exported "${name}")
endforeach()

file(READ ${HEADER} header)
string(REGEX MATCHALL "XO_API Xo_PolicyApi_[A-Za-z0-9_]+\\(" declarations "${header}")
set(declared)
foreach(declaration IN LISTS declarations)
  string(REGEX REPLACE "XO_API (.*)\\(" "\\1" name "${declaration}")
  list(APPEND declared "${name}")
endforeach()

list(LENGTH declared declaredCount)
list(LENGTH exported exportedCount)
set(missing ${declared})
list(REMOVE_ITEM missing ${exported})
set(extra ${exported})
list(REMOVE_ITEM extra ${declared})
list(FILTER exported INCLUDE REGEX "[@?]")
if(missing OR extra OR exported OR NOT declaredCount EQUAL 67)
  message(FATAL_ERROR "the export table does not match the header (${declaredCount} declared, "
                      "${exportedCount} exported)\n  missing: ${missing}\n  not declared: ${extra}\n"
                      "  decorated: ${exported}")
endif()
message(STATUS "${DLL} exports the ${declaredCount} functions of the header, undecorated")
