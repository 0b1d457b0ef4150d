# The toolchain for 32-bit Windows: mingw-w64 with POSIX threads. The module has the compiler's
# runtime linked in and needs only what Windows has. Programs load the runtime from a DLL in their
# directory, so that the unit tests can distinguish the project's allocations from the runtime's.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
# Doubles have the same width in registers as in memory, so that they compare as on other platforms.
# g++ 12 warns of a write to a null pointer on a path that inlining leaves and that is never taken.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse --param=min-pagesize=0")
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)
