# What a release holds, as `cmake --install` lays it out; tools/release packs it. The headers are
# those that the plugin is built from. They must stand without the rest, from C++11 on:
# tools/check-release looks.
set(VEL_PUBLIC_HEADERS
  host/application.h host/console_flags.h host/entry.h host/export.h host/host_arrays.h
  host/host_calls.h host/host_types.h host/resolver.h
  pixels/gtk_cairo.h pixels/picture_editor.h pixels/picture_lock.h
  pixels/picture_reader.h pixels/picture_writers.h pixels/pixel_types.h pixels/whole_pictures.h
  text/builders.h text/classification.h text/diagnostics.h text/rb_data.h text/rb_text.h
  text/string_data.h
  transforms/mirror.h transforms/quarter_turns.h transforms/rotate.h transforms/rotate_memory.h
  transforms/select_kernels.h transforms/shear.h)

install(TARGETS VelPicture LIBRARY DESTINATION .
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
foreach(header ${VEL_PUBLIC_HEADERS})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION include/${folder})
endforeach()
install(FILES docs/release.md DESTINATION . RENAME README.md)
install(FILES CHANGELOG.md LICENSE DESTINATION .)
install(FILES docs/methods.md docs/support.md docs/sample.png DESTINATION docs)
install(DIRECTORY docs/example docs/pictures DESTINATION docs)
