# Toolchain: everything is built for 32-bit x86. Given to CMake as a toolchain file, so that its own
# probes (pointer size, library folders) already see a 32-bit machine.
set(CMAKE_C_FLAGS_INIT "-m32")
set(CMAKE_CXX_FLAGS_INIT "-m32")
