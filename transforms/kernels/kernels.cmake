# The kernels: one small file per group and instruction set, each under its own flags. They are
# objects, so that their tests reach them behind the plugin's back.
file(GLOB VEL_KERNEL_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
foreach(group move shear)
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/${group}_avx2.cpp PROPERTIES
    COMPILE_OPTIONS "-mavx2")
  # GCC 12 takes its own intrinsics' "undefined" vectors for uninitialised ones.
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/${group}_avx512.cpp PROPERTIES
    COMPILE_OPTIONS "-mavx512f;-mavx512bw;-mavx512vl;-mavx512dq;$<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>")
endforeach()
add_library(velpicture_kernels OBJECT ${VEL_KERNEL_SOURCES})
velpicture_plugin(velpicture_kernels)
target_sources(VelPicture PRIVATE $<TARGET_OBJECTS:velpicture_kernels>)
