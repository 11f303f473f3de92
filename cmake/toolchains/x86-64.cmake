# The machine that the other kinds are compared with.
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
