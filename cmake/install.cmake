# The plugin as it is installed: by default in the folders of the system (GNUInstallDirs), as the
# component `release` flat, which tools/release packs. The headers are those that the plugin is built
# from. They must stand without the rest, from C++11 on: tools/check-release looks.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VEL_PUBLIC_HEADERS
  host/application.h host/console_flags.h host/entry.h host/export.h host/host_arrays.h
  host/host_calls.h host/host_types.h host/resolver.h
  pixels/gtk_cairo.h pixels/picture_editor.h pixels/picture_lock.h
  pixels/picture_reader.h pixels/picture_writers.h pixels/pixel_types.h pixels/whole_pictures.h
  text/builders.h text/classification.h text/diagnostics.h text/rb_data.h text/rb_text.h
  text/string_data.h
  transforms/mirror.h transforms/quarter_turns.h transforms/rotate.h transforms/rotate_memory.h
  transforms/select_kernels.h transforms/shear.h)

set(pages docs/methods.md docs/recipes.md docs/support.md)
set(file_mode PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

function(install_headers folder)
  foreach(header ${VEL_PUBLIC_HEADERS})
    get_filename_component(subfolder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${folder}/${subfolder} ${ARGN})
  endforeach()
endfunction()

# The CMake package and the pkg-config file of one layout. Both find the rest by their own place, so
# that the folder may be moved.
function(install_packages plugin_folder header_folder library_folder)
  set(made ${CMAKE_CURRENT_BINARY_DIR}/package/${library_folder}/${plugin_folder})
  set(package ${library_folder}/cmake/VelPicture)
  configure_package_config_file(cmake/package/VelPictureConfig.cmake.in
    ${made}/VelPictureConfig.cmake INSTALL_DESTINATION ${package}
    PATH_VARS plugin_folder header_folder NO_CHECK_REQUIRED_COMPONENTS_MACRO)
  # A project whose -m32 comes with the package's target counts as a 64-bit one.
  write_basic_package_version_file(${made}/VelPictureConfigVersion.cmake
    COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
  set(here ${library_folder}/pkgconfig)
  cmake_path(ABSOLUTE_PATH here BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
  foreach(kind plugin header)
    cmake_path(ABSOLUTE_PATH ${kind}_folder BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
      OUTPUT_VARIABLE there)
    file(RELATIVE_PATH ${kind}_from_here ${here} ${there})
  endforeach()
  configure_file(cmake/package/velpicture.pc.in ${made}/velpicture.pc @ONLY)
  install(FILES ${made}/VelPictureConfig.cmake ${made}/VelPictureConfigVersion.cmake
    DESTINATION ${package} ${ARGN})
  install(FILES ${made}/velpicture.pc DESTINATION ${library_folder}/pkgconfig ${ARGN})
endfunction()

# It is no library of the system, so it lies in a folder of its own, where velhost looks for it too.
set(own_folder ${CMAKE_INSTALL_LIBDIR}/velpicture)
install(TARGETS VelPicture LIBRARY DESTINATION ${own_folder} ${file_mode})
install_headers(${CMAKE_INSTALL_INCLUDEDIR}/velpicture)
install_packages(${own_folder} ${CMAKE_INSTALL_INCLUDEDIR}/velpicture ${CMAKE_INSTALL_LIBDIR})
install(FILES CHANGELOG.md LICENSE ${pages} docs/sample.png
  DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/example docs/pictures DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(release COMPONENT release EXCLUDE_FROM_ALL)
install(TARGETS VelPicture LIBRARY DESTINATION . ${file_mode} ${release})
install_headers(include ${release})
install_packages(. include lib ${release})
install(FILES docs/archives/VelPicture.md DESTINATION . RENAME README.md ${release})
install(FILES CHANGELOG.md LICENSE DESTINATION . ${release})
install(FILES ${pages} docs/sample.png DESTINATION docs ${release})
install(DIRECTORY docs/example docs/pictures DESTINATION docs ${release}
  PATTERN Leaky.cpp EXCLUDE)
