# Libraries that tools/setup unpacked in this checkout. Linking `unpacked_libraries` makes
# their headers and files known; which of them to link is the target's own business. At run time
# tools/desktop-env lets the loader find them.
include_guard(GLOBAL)
set(VEL_DEPS "$ENV{VEL_DEPS}")
if(NOT VEL_DEPS)
  set(VEL_DEPS ${PROJECT_SOURCE_DIR}/.deps)
endif()

add_library(unpacked_libraries INTERFACE)
if(VEL_STAND_IN)
  set(folder ${VEL_DEPS}/amd64)
  set(triplet x86_64-linux-gnu)
else()
  set(folder ${VEL_DEPS}/i386)
  set(triplet i386-linux-gnu)
endif()
target_include_directories(unpacked_libraries SYSTEM INTERFACE
  ${folder}/usr/include ${folder}/usr/include/${triplet})
target_link_directories(unpacked_libraries INTERFACE
  ${folder}/usr/lib/${triplet} ${folder}/lib/${triplet})
# What the libraries need in their turn is found by the loader, not by us.
target_link_options(unpacked_libraries INTERFACE -Wl,--allow-shlib-undefined)

# Of picture files; static, so that programs start without the environment of the unpacked libraries.
set(VEL_PICTURE_LIBRARIES -l:libpng16.a -l:libz.a -l:libjpeg.a -lm)
