# What makes debug builds compile fast: headers that nearly every source takes are read once, as they are more than half
# of what a compiler reads here, sources are compiled together, and the faster linker is taken.
#
# What a source needs it includes all the same: builds with clang know no precompiled headers, and would miss it. None of
# the project's own headers: ccache gives an old precompiled one where only a comment has changed, and the compiler then
# takes the header for another one. Not in optimised builds, which those with sanitizers are, too: GCC 12 takes what it
# has inlined from a precompiled header for ours, and warns of the standard library.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT QX5_SANITIZE)
  set(QX5_PRECOMPILES ON)
else()
  set(QX5_PRECOMPILES OFF)
endif()

set(qx5_common_headers
  <algorithm> <array> <atomic> <charconv> <chrono> <cmath> <cstddef> <cstdint> <filesystem> <fstream> <functional> <limits>
  <map> <memory> <mutex> <optional> <span> <stdexcept> <string> <string_view> <thread> <utility> <variant> <vector>)
set(qx5_view_headers <QApplication> <QComboBox> <QLabel> <QLineEdit> <QPointer> <QTimer> <QVBoxLayout> <QWidget>)
set(qx5_test_headers <gtest/gtest.h> <gmock/gmock.h>)

# qx5_precompile(target headers...): these for all sources of the target. It must link with whatever has them.
function(qx5_precompile target)
  if(QX5_PRECOMPILES)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# qx5_share_precompiled(name LIBRARIES ... HEADERS ...): a target whose headers others take with
# qx5_take_precompiled(target name).
function(qx5_share_precompiled name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES;HEADERS" ${ARGN})
  if(QX5_PRECOMPILES)
    file(GENERATE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp" CONTENT "")
    add_library(${name} OBJECT "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} qx5_warnings)
    target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
  endif()
endfunction()
function(qx5_take_precompiled target name)
  if(QX5_PRECOMPILES)
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()

# qx5_compile_together(target [ALONE source...]): its sources some at a time, which spares the compiler most of what they
# repeat of templates. Four still compile soon when one has changed; a build that is made once takes more. ALONE: those
# that name something as another does.
option(QX5_TOGETHER "Compile sources some at a time where headers are precompiled" ${QX5_PRECOMPILES})
set(QX5_TOGETHER_AT_ONCE 4 CACHE STRING "How many")
function(qx5_compile_together target)
  cmake_parse_arguments(ARG "" "" "ALONE" ${ARGN})
  if(QX5_PRECOMPILES AND QX5_TOGETHER)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${QX5_TOGETHER_AT_ONCE})
    set_source_files_properties(${ARG_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()

# A program of the tests links in less than half the time.
find_program(QX5_GOLD_LINKER ld.gold)
if(QX5_PRECOMPILES AND QX5_GOLD_LINKER AND CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF")
  add_link_options(-fuse-ld=gold)
endif()

# Without the toolkit, the network or a library of tests.
qx5_share_precompiled(qx5_common_precompiled HEADERS ${qx5_common_headers})
