# 32-bit libraries that tools/setup unpacked in this checkout. Linking `unpacked_libraries` makes
# their headers and files known; which of them to link is the target's own business. At run time
# tools/desktop-env lets the loader find them.
include_guard(GLOBAL)
set(VEL_DEPS "$ENV{VEL_DEPS}")
if(NOT VEL_DEPS)
  set(VEL_DEPS ${PROJECT_SOURCE_DIR}/.deps)
endif()
set(root ${VEL_DEPS}/i386/usr)
set(headers ${root}/include)
foreach(folder i386-linux-gnu cairo pixman-1 gdk-pixbuf-2.0 glib-2.0 leptonica SDL2)
  list(APPEND headers ${root}/include/${folder})
endforeach()
list(APPEND headers ${root}/lib/i386-linux-gnu/glib-2.0/include)
set(libraries ${root}/lib/i386-linux-gnu ${VEL_DEPS}/i386/lib/i386-linux-gnu)

add_library(unpacked_libraries INTERFACE)
target_include_directories(unpacked_libraries SYSTEM INTERFACE ${headers})
target_link_directories(unpacked_libraries INTERFACE ${libraries})
# What the libraries need in their turn is found by the loader, not by us.
target_link_options(unpacked_libraries INTERFACE -Wl,--allow-shlib-undefined)
