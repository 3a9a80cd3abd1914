# The kernels: one small file per variant, each under its own flags. They are objects, so that their
# tests reach them behind the plugin's back.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/variants.def variants REGEX "^VEL_VARIANT")
set(VEL_KERNEL_SOURCES ${CMAKE_CURRENT_LIST_DIR}/kernels.cpp
  ${CMAKE_CURRENT_LIST_DIR}/shear_multiplier.cpp)
foreach(variant IN LISTS variants)
  string(REGEX MATCH "\\(([a-z0-9]+), \"([^\"]*)\"" row "${variant}")
  list(APPEND VEL_KERNEL_SOURCES ${CMAKE_CURRENT_LIST_DIR}/${CMAKE_MATCH_1}.cpp)
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/${CMAKE_MATCH_1}.cpp PROPERTIES
    COMPILE_OPTIONS "${CMAKE_MATCH_2}")
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_LIST_DIR}/variants.def)
add_library(velpicture_kernels OBJECT ${VEL_KERNEL_SOURCES})
velpicture_plugin(velpicture_kernels)
velpicture_symbols(velpicture_kernels)
# Otherwise one kernel's length moves the loops of the next, whose times change by three per cent.
target_compile_options(velpicture_kernels PRIVATE -falign-loops=32)
if(VEL_STAND_IN)
  # Eight vector registers. Of the others, twelve: GCC realigns the stack through r10 or r13.
  foreach(register xmm8 xmm9 xmm10 xmm11 xmm12 xmm13 xmm14 xmm15 r11 r12 r14 r15)
    target_compile_options(velpicture_kernels PRIVATE -ffixed-${register})
  endforeach()
endif()
target_sources(VelPicture PRIVATE $<TARGET_OBJECTS:velpicture_kernels>)
