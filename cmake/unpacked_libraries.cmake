# 32-bit libraries that tools/setup unpacked in this checkout. Linking `unpacked_libraries` makes
# their headers and files known; which of them to link is the target's own business. At run time
# tools/desktop-env lets the loader find them.
include_guard(GLOBAL)
set(VEL_DEPS "$ENV{VEL_DEPS}")
if(NOT VEL_DEPS)
  set(VEL_DEPS ${PROJECT_SOURCE_DIR}/.deps)
endif()

add_library(unpacked_libraries INTERFACE)
target_include_directories(unpacked_libraries SYSTEM INTERFACE ${VEL_DEPS}/i386/usr/include)
target_link_directories(unpacked_libraries INTERFACE
  ${VEL_DEPS}/i386/usr/lib/i386-linux-gnu ${VEL_DEPS}/i386/lib/i386-linux-gnu)
# What the libraries need in their turn is found by the loader, not by us.
target_link_options(unpacked_libraries INTERFACE -Wl,--allow-shlib-undefined)
