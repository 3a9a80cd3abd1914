# Tells while configuring what is missing, as Debian names its packages.
include(${PROJECT_SOURCE_DIR}/cmake/unpacked_libraries.cmake)
include(CheckCXXSourceCompiles)

set(missing "")
foreach(need stb/stb_image.h=libstb-dev CLI/CLI.hpp=libcli11-dev
             nlohmann/json.hpp=nlohmann-json3-dev)
  string(REPLACE "=" ";" need ${need})
  list(GET need 0 header)
  list(GET need 1 package)
  find_path(VEL_HAS_${package} ${header})
  if(NOT VEL_HAS_${package})
    list(APPEND missing ${package})
  endif()
endforeach()

# For labels; one file, so that they look the same everywhere.
find_file(VEL_FONT Vera.ttf NO_DEFAULT_PATH
  PATHS ${folder} / PATH_SUFFIXES usr/share/fonts/truetype/ttf-bitstream-vera)
if(NOT VEL_FONT)
  list(APPEND missing ttf-bitstream-vera)
endif()

get_target_property(CMAKE_REQUIRED_INCLUDES unpacked_libraries INTERFACE_INCLUDE_DIRECTORIES)
set(CMAKE_REQUIRED_LIBRARIES -L${folder}/usr/lib/${triplet} ${VEL_PICTURE_LIBRARIES})
check_cxx_source_compiles("
  #include <cstdio>
  #include <jpeglib.h>
  #include <png.h>
  int main() { jpeg_error_mgr e; return !jpeg_std_error(&e) || !png_access_version_number(); }"
  VEL_HAS_PICTURE_LIBRARIES)
unset(CMAKE_REQUIRED_INCLUDES)
unset(CMAKE_REQUIRED_LIBRARIES)
if(NOT VEL_HAS_PICTURE_LIBRARIES)
  unset(VEL_HAS_PICTURE_LIBRARIES CACHE)  # Asked anew next time.
  list(APPEND missing libpng-dev zlib1g-dev "libjpeg62-turbo-dev (for ${triplet})")
endif()
if(missing)
  list(JOIN missing ", " missing)
  message(FATAL_ERROR "missing: ${missing}. tools/setup build brings them; the plugin alone, "
                      "-DVEL_PLUGIN_ALONE=ON, does without.")
endif()
