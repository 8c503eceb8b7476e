# The commit that a program is built from, in a source file of its own that changes only when the commit does.
#
# As a script (cmake -DSOURCE=... -DOUTPUT=... -DNAMESPACE=... -P) it writes that file: the commit's first twelve digits,
# with a word when files differ from it. Where git does not know the folder as the top of a checkout, it is what
# cmake/commit.txt says, which `git archive` writes, or "unknown".
if(CMAKE_SCRIPT_MODE_FILE)
  cmake_minimum_required(VERSION 3.25)
  set(commit "unknown")
  find_program(git NAMES git)
  if(git)
    # Of a hook that builds, the variables would lead elsewhere.
    set(ask "${CMAKE_COMMAND}" -E env --unset=GIT_DIR --unset=GIT_WORK_TREE "${git}" --no-optional-locks -C "${SOURCE}")
    execute_process(COMMAND ${ask} rev-parse --show-toplevel
      OUTPUT_VARIABLE top OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    # An unpacked archive may lie within somebody else's checkout.
    file(REAL_PATH "${SOURCE}" source)
    if(NOT failed AND top STREQUAL source)
      execute_process(COMMAND ${ask} describe --always --abbrev=12 "--exclude=*" "--dirty= with changes"
        OUTPUT_VARIABLE told OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
      if(NOT failed AND told MATCHES "^[0-9a-f]+( with changes)?$")
        set(commit "${told}")
      endif()
    endif()
  endif()
  if(commit STREQUAL "unknown" AND EXISTS "${SOURCE}/cmake/commit.txt")
    file(STRINGS "${SOURCE}/cmake/commit.txt" told LIMIT_COUNT 1)
    if(told MATCHES "^([0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f])[0-9a-f]*( with changes)?$")
      set(commit "${CMAKE_MATCH_1}${CMAKE_MATCH_2}")
    endif()
  endif()
  file(CONFIGURE OUTPUT "${OUTPUT}" @ONLY CONTENT
"// The commit that this program is built from; written by the build.
namespace ${NAMESPACE} {

extern char const* const programCommit;
char const* const programCommit = \"${commit}\";

} // namespace ${NAMESPACE}
")
  return()
endif()

set(qx5_commit_script "${CMAKE_CURRENT_LIST_FILE}")

# qx5_take_commit(target namespace): `char const* const programCommit` in the namespace, as each build finds it.
function(qx5_take_commit target namespace)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}_commit.cpp")
  add_custom_target(${target}_commit BYPRODUCTS "${source}" VERBATIM COMMENT "Looking at the commit"
    COMMAND "${CMAKE_COMMAND}" "-DSOURCE=${PROJECT_SOURCE_DIR}" "-DOUTPUT=${source}" "-DNAMESPACE=${namespace}"
      -P "${qx5_commit_script}")
  target_sources(${target} PRIVATE "${source}")
  add_dependencies(${target} ${target}_commit)
endfunction()
