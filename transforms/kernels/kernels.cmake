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
if(VEL_STAND_IN)
  # Eight vector registers. Of the others, twelve: GCC realigns the stack through r10 or r13.
  foreach(register xmm8 xmm9 xmm10 xmm11 xmm12 xmm13 xmm14 xmm15 xmm16 xmm17 xmm18 xmm19 xmm20
      xmm21 xmm22 xmm23 xmm24 xmm25 xmm26 xmm27 xmm28 xmm29 xmm30 xmm31 r11 r12 r14 r15)
    target_compile_options(velpicture_kernels PRIVATE -ffixed-${register})
  endforeach()
endif()
target_sources(VelPicture PRIVATE $<TARGET_OBJECTS:velpicture_kernels>)
