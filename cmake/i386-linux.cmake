# Builds for 32-bit x86 Linux (-m32) on an x86-64 Debian host, against the
# i386 libraries of multiarch (scripts/setup-m32.sh installs them). The
# programs run on the host, so the tests run as in the native build.
#
#   cmake -S . -B build-m32 -DCMAKE_TOOLCHAIN_FILE=cmake/i386-linux.cmake

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)

set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT -m32)
set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_EXE_LINKER_FLAGS_INIT -m32)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -m32)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -m32)
# No -D_TIME_BITS=64: the i386 libldap takes its timeouts as the 32-bit
# struct timeval it was built with.

# Libraries and headers come from the i386 multiarch folders only; the
# headers under /usr/include are shared by both architectures.
set(CMAKE_FIND_ROOT_PATH /)
set(CMAKE_SYSTEM_LIBRARY_PATH /usr/lib/i386-linux-gnu /lib/i386-linux-gnu)
set(CMAKE_IGNORE_PATH /usr/lib/x86_64-linux-gnu /lib/x86_64-linux-gnu)
set(FIND_LIBRARY_USE_LIB64_PATHS OFF)
set_property(GLOBAL PROPERTY FIND_LIBRARY_USE_LIB64_PATHS OFF)

# pkg-config reads the i386 .pc files only.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/i386-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")

# No 32-bit GoogleTest is packaged: the build compiles it from its sources.
set(XO_BUNDLED_GTEST ON CACHE BOOL "Build GoogleTest from /usr/src/googletest")

# The shared store's libpq is not installed for i386: the 32-bit build is
# of the embedded store.
set(XO_WITH_POSTGRES OFF CACHE BOOL "Build the PostgreSQL store backend (libpq)")
