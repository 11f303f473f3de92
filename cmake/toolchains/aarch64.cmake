# A structure for an argument list, unsigned `char`. Programs run by the emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Programs name the place of their libraries themselves. The emulator's option -L would lead every path there, even "/".
set(libraries /usr/aarch64-linux-gnu/lib)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--dynamic-linker=${libraries}/ld-linux-aarch64.so.1 -Wl,-rpath,${libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath,${libraries}")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
