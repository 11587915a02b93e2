# Cross build for 32-bit Windows with mingw-w64 (posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(XO_MINGW_PREFIX i686-w64-mingw32)
set(CMAKE_C_COMPILER ${XO_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${XO_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${XO_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${XO_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The C++ runtime, libgcc and winpthread go into every binary, so that the
# DLL and the programs need nothing but what every Windows has.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

