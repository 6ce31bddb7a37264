# 32-bit Windows, cross-built with Debian's MinGW-w64. KYR_WINDOWS_PREFIX names the folder of the dependencies, as
# scripts/windows/build-dependencies prints it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
# The posix variant: std::thread, and the exception model that the dependencies are built with.
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
set(CMAKE_MC_COMPILER i686-w64-mingw32-windmc)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KYR_WINDOWS_PREFIX)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32 ${KYR_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
