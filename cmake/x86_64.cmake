# Toolchain of the stand-in for timing: 64-bit code on any x86 machine.
set(CMAKE_C_FLAGS_INIT "-m64")
set(CMAKE_CXX_FLAGS_INIT "-m64")
