# cmake -DVELBENCH=FILE -DPLUGIN=FILE -DWORK=FOLDER -P velbench_test.cmake: the benchmark on one
# small case, and what it refuses.
if(NOT EXISTS ${VELBENCH})
  message(STATUS "SKIPPED: velbench is not built; ./bench builds it")
  return()
endif()
file(MAKE_DIRECTORY ${WORK})
set(figures ${WORK}/figures.json)
set(plot ${WORK}/figures.png)
set(tables ${WORK}/figures.md)
file(REMOVE ${figures} ${plot} ${tables})

# run(STATUS PATTERN ARGS...): checks the status, and that one stream or the other says PATTERN.
function(run wanted pattern)
  execute_process(COMMAND ${VELBENCH} ${ARGN} RESULT_VARIABLE status
    OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status STREQUAL wanted OR NOT output MATCHES "${pattern}")
    message(SEND_ERROR "velbench ${ARGN}: status ${status}, no '${pattern}' in: ${output}")
  endif()
endfunction()

# value(OUT PATH...): a value of the figures; stops when there is none.
macro(value out)
  string(JSON ${out} GET "${json}" ${ARGN})
endmacro()

run(0 "HMirrorVel.* x" --quick --filter "^HMirrorVel/512x512/console" --kernels sse2
  --json ${figures} --plot ${plot} --markdown ${tables})
file(READ ${tables} text)
if(NOT text MATCHES "^fresh, .*HMirrorVel` [|] [0-9.]+ [|].*\nwarm, .*HMirrorVel` [|] [0-9.]+ [|]")
  message(SEND_ERROR "the tables: ${text}")
endif()
file(READ ${figures} json)
value(kernels kernels)
string(JSON caveat TYPE "${json}" caveat)
string(JSON rows LENGTH "${json}" rows)
if(NOT "${kernels} ${caveat} ${rows}" STREQUAL "sse2 STRING 2" OR NOT EXISTS ${plot})
  message(SEND_ERROR "kernels, caveat, rows: ${kernels} ${caveat} ${rows}, or no plot")
endif()
foreach(row 0 1)
  value(ours rows ${row} ours nsPerPixel)
  value(memcpy rows ${row} memcpy nsPerPixel)
  value(ratio rows ${row} memcpy oursDividedByIt)
  string(JSON peers TYPE "${json}" rows ${row} peers)
  if(NOT ours GREATER 0 OR NOT memcpy GREATER 0 OR NOT ratio GREATER 0 OR NOT peers STREQUAL OBJECT)
    message(SEND_ERROR "row ${row}: ${ours} ${memcpy} ${ratio} ${peers}")
  endif()
endforeach()

# Against another build, which is a copy here.
file(COPY_FILE ${PLUGIN} ${WORK}/other.so)
run(0 "the other sse2.*fresh\nHMirrorVel[^\n]* x[0-9.]+ *\n.*warm\nHMirrorVel[^\n]* x[0-9.]+ *\n"
  --quick --filter "^HMirrorVel/512x512/console" --kernels sse2 --against ${WORK}/other.so)
run(2 "invalid ELF header" --against ${figures})
run(2 "--kernels abacus: unknown" --kernels abacus)
run(2 "matches no row" --filter nothing)
run(2 "no regular expression" --filter "(")
run(2 "nowhere is missing" --json ${WORK}/nowhere/figures.json)
