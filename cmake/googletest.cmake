# GoogleTest from the sources that Debian ships (package googletest), built with our own 32-bit
# flags: gives the targets gtest and gtest_main. include() it where tests are declared.
include_guard(GLOBAL)
set(folder "$ENV{VEL_GOOGLETEST}")
if(NOT folder)
  set(folder /usr/src/googletest)
endif()
set(VEL_GOOGLETEST ${folder} CACHE PATH "Where the sources of GoogleTest lie")
if(NOT EXISTS ${VEL_GOOGLETEST}/CMakeLists.txt)
  message(FATAL_ERROR "missing: googletest. tools/setup build brings it; VEL_GOOGLETEST names another folder of its sources; the plugin alone, -DVEL_PLUGIN_ALONE=ON, does without.")
endif()
set(BUILD_GMOCK OFF)
set(INSTALL_GTEST OFF)
add_subdirectory(${VEL_GOOGLETEST} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
# It is compiled once and runs for moments.
target_compile_options(gtest PRIVATE -O0)
include(GoogleTest)
