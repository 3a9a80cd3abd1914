# GoogleTest from the sources that Debian ships (package googletest), built with our own 32-bit
# flags: gives the targets gtest, gtest_main and gmock. include() it where tests are declared.
include_guard(GLOBAL)
set(VEL_GOOGLETEST /usr/src/googletest CACHE PATH "Where the sources of GoogleTest lie")
if(NOT EXISTS ${VEL_GOOGLETEST}/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest's sources are missing: run tools/setup build")
endif()
set(INSTALL_GTEST OFF)
add_subdirectory(${VEL_GOOGLETEST} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
# It is compiled once and runs for moments.
target_compile_options(gtest PRIVATE -O0)
include(GoogleTest)
