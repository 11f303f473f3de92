# Pointers, `long` and argument lists of 32 bits. The package g++-multilib, which links the headers of the other word size
# into place, cannot stand beside the compiler for AArch64; so the system's headers are named here.
set(CMAKE_C_COMPILER gcc-12)
set(CMAKE_CXX_COMPILER g++-12)
set(CMAKE_C_FLAGS_INIT "-m32 -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_CXX_FLAGS_INIT "-m32 -idirafter /usr/include/x86_64-linux-gnu")
