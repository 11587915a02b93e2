# What the Windows build takes from outside the tree. scripts/build-windows.sh
# fetches the SQLite amalgamation and the Argon2 reference sources into
# XO_DEPS_DIR; both are compiled into the DLL. The header-only CLI11 and
# nlohmann-json come from the build machine, GoogleTest from its sources.
set(XO_DEPS_DIR ${CMAKE_BINARY_DIR}/deps CACHE PATH "Fetched sources of the Windows build")

set(XO_SQLITE_DIR ${XO_DEPS_DIR}/sqlite)
set(XO_ARGON2_DIR ${XO_DEPS_DIR}/argon2)
foreach(required ${XO_SQLITE_DIR}/sqlite3.c ${XO_ARGON2_DIR}/src/core.c)
  if(NOT EXISTS ${required})
    message(FATAL_ERROR "${required} is missing: run scripts/build-windows.sh, which fetches it")
  endif()
endforeach()

add_library(xo_sqlite3 STATIC ${XO_SQLITE_DIR}/sqlite3.c)
target_include_directories(xo_sqlite3 SYSTEM PUBLIC ${XO_SQLITE_DIR})
target_compile_definitions(xo_sqlite3 PRIVATE SQLITE_THREADSAFE=1 SQLITE_DQS=0
                                              SQLITE_OMIT_LOAD_EXTENSION SQLITE_DEFAULT_WAL_SYNCHRONOUS=1)
target_compile_options(xo_sqlite3 PRIVATE -w)
add_library(SQLite::SQLite3 ALIAS xo_sqlite3)

# p = 1 everywhere: the hashing needs no threads of its own.
add_library(xo_argon2 STATIC
  ${XO_ARGON2_DIR}/src/argon2.c ${XO_ARGON2_DIR}/src/core.c ${XO_ARGON2_DIR}/src/encoding.c
  ${XO_ARGON2_DIR}/src/ref.c ${XO_ARGON2_DIR}/src/thread.c ${XO_ARGON2_DIR}/src/blake2/blake2b.c)
target_include_directories(xo_argon2 SYSTEM PUBLIC ${XO_ARGON2_DIR}/include)
target_compile_definitions(xo_argon2 PRIVATE ARGON2_NO_THREADS)
target_compile_options(xo_argon2 PRIVATE -w)

# Header-only libraries: only their own folders, never the build machine's
# /usr/include, whose C headers are not the cross compiler's.
set(XO_HOST_HEADERS ${CMAKE_BINARY_DIR}/host-headers)
file(MAKE_DIRECTORY ${XO_HOST_HEADERS})
foreach(folder CLI nlohmann)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: run scripts/setup-windows.sh")
  endif()
  file(CREATE_LINK /usr/include/${folder} ${XO_HOST_HEADERS}/${folder} SYMBOLIC)
endforeach()
add_library(CLI11::CLI11 INTERFACE IMPORTED)
target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${XO_HOST_HEADERS})
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
target_include_directories(nlohmann_json::nlohmann_json SYSTEM INTERFACE ${XO_HOST_HEADERS})
set(CLI11_FOUND TRUE)
set(nlohmann_json_FOUND TRUE)

# Programs that the build or CTest runs go through wine, with one prefix for
# the whole build folder.
if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  find_program(XO_WINE wine)
  if(XO_WINE)
    set(XO_WINEPREFIX ${CMAKE_BINARY_DIR}/wineprefix)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/wine-run.sh.in ${CMAKE_BINARY_DIR}/wine-run.sh @ONLY
                   FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                    WORLD_READ WORLD_EXECUTE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_BINARY_DIR}/wine-run.sh)
  endif()
endif()

# Every program and the DLL in one folder, where Windows looks for DLLs.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
