# Builds the installed example of another instrument against the installation it came with, and loads it there.
cmake_minimum_required(VERSION 3.25)

# run(COMMAND...): stops the test unless the command succeeds; its output is in `output`.
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE code OUTPUT_VARIABLE said ERROR_VARIABLE said)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "${ARGV}\nended with ${code}:\n${said}")
  endif()
  set(output "${said}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${FOLDER}")
run("${CMAKE_COMMAND}" -G "${GENERATOR}" "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}"
  -S "${PREFIX}/share/doc/qx5/examples/echo_sounder" -B "${FOLDER}" "-DCMAKE_PREFIX_PATH=${PREFIX}"
  "-DCMAKE_CXX_COMPILER=${COMPILER}" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror")
run("${CMAKE_COMMAND}" --build "${FOLDER}")
run("${PREFIX}/bin/qx5" plugin "${FOLDER}/echo_sounder.so")
foreach(line "device class SingleBeamSounder\n" "view class SingleBeamSounderView\n"
    "display template SINGLEBEAMSOUNDER\n" "and is unloaded again")
  string(FIND "${output}" "${line}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "`qx5 plugin` does not say \"${line}\":\n${output}")
  endif()
endforeach()
