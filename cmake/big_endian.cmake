# The toolchain for a big-endian Linux, s390x. What it builds runs under qemu-user, so that the
# tests show that nothing depends on the order of the bytes in memory.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_C_COMPILER s390x-linux-gnu-gcc-12)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++-12)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x -L /usr/s390x-linux-gnu)
