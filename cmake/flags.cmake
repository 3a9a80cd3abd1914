# Compiler and linker flags of the whole project, in three layers:
#   everything              (directory wide)    floating point, sanitizers
#   our own code            velpicture_warnings warnings, all of them errors
#   the shared object only  velpicture_plugin() exports, exceptions passing through, libc and libm only

# SSE2 is the floor. Doubles are computed in doubles, never in 80-bit registers or fused: pixels
# must not depend on the compiler.
add_compile_options(-msse2 -mfpmath=sse -ffp-contract=off)

# What is built knows no folder of the machine.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)

# Timing where no 32-bit program can run: the plugin and the benchmark as 64-bit code, whose kernels
# do without the registers that 32-bit code lacks (GCC only: see transforms/kernels/kernels.cmake).
option(VEL_STAND_IN "Build the 64-bit stand-in for timing: benchmark and kernel tests alone" OFF)
if(VEL_STAND_IN)
  add_compile_definitions(VEL_STAND_IN)
endif()

option(VEL_SANITIZE "Build with the address and undefined behaviour sanitizers" OFF)
option(VEL_FUZZ "Build the fuzzers (Clang only), best with VEL_SANITIZE" OFF)
if(VEL_SANITIZE)
  # vptr checks need run-time type information, which the plugin is built without. Clang's check of
  # function types does too, and host and plugin call each other by address in raw words anyway.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                      $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>
                      -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=address,undefined)
endif()
if(VEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

add_library(velpicture_warnings INTERFACE)
target_compile_options(velpicture_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror)
if(VEL_STAND_IN)
  target_compile_options(velpicture_warnings INTERFACE -Wno-conversion)  # A long has 32 bits.
endif()

# Makes `target` a plugin: hides what is not exported on purpose, tolerates a caller's stack aligned
# to 4 bytes, and links the C library and libm only.
function(velpicture_plugin target)
  target_link_libraries(${target} PRIVATE velpicture_warnings)
  target_compile_options(${target} PRIVATE -fno-rtti -fexceptions -mstackrealign)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(${target} PROPERTIES
    PREFIX ""
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  # Its own name: plugins linked with it find it loaded, wherever the host loaded it from.
  target_link_options(${target} PRIVATE -Wl,-soname,VelPicture.so)
  # The older form of the symbol table is all that C libraries before 2.5 know.
  target_link_options(${target} PRIVATE -Wl,--hash-style=both -Wl,-Bsymbolic -Wl,-z,relro,-z,now
    -Wl,--exclude-libs,ALL -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/plugin.map)
  if(VEL_SANITIZE OR VEL_FUZZ)
    return()  # What they call is defined in the program that loads the plugin.
  endif()

  target_compile_options(${target} PRIVATE
    -include ${PROJECT_SOURCE_DIR}/cmake/passing_exceptions.h)
  target_link_options(${target} PRIVATE -nodefaultlibs -Wl,-z,defs)
  target_link_libraries(${target} PRIVATE -lm -lc -lgcc)
endfunction()

# Gives `target` debugging symbols. A release has them in an archive of their own, where the sources
# lie in a folder of this name.
function(velpicture_symbols target)
  if(NOT VEL_SANITIZE)
    target_compile_options(${target} PRIVATE -g
      -fdebug-prefix-map=${PROJECT_SOURCE_DIR}=/VelPicture-${PROJECT_VERSION})
  endif()
endfunction()

# Makes `target` a program that runs where a C library is: the C++ run-time library is within. What
# plugins need of it to let exceptions pass is shown to them.
function(velpicture_standalone target)
  if(VEL_SANITIZE OR VEL_FUZZ)
    return()
  endif()
  set(shown ${PROJECT_SOURCE_DIR}/cmake/exceptions.list)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${shown})
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -m32 -print-file-name=libgcc_eh.a
    OUTPUT_VARIABLE unwinder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(renamed ${CMAKE_CURRENT_BINARY_DIR}/unwinder.a)
  add_custom_command(OUTPUT ${renamed} COMMAND ${CMAKE_OBJCOPY}
    --redefine-sym _Unwind_Resume=velpicture_unwind_resume ${unwinder} ${renamed})
  target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/shown_resume.cpp ${renamed})
  # The names after -u may be wanted by a plugin alone.
  target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc -Wl,--gc-sections
    -Wl,--dynamic-list=${shown} -Wl,-u,__cxa_rethrow -Wl,-u,_ZSt17current_exceptionv
    -Wl,-u,_ZSt19uncaught_exceptionsv -Wl,-u,__cxa_current_exception_type
    -Wl,-u,__cxa_call_unexpected)
  target_link_libraries(${target} PRIVATE ${renamed})
endfunction()
