# What every target of the project shares: language level, warnings, visibility, sanitizers, output folders.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
include(GNUInstallDirs)
file(RELATIVE_PATH libraries_from_programs "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN/${libraries_from_programs}")

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Debug CACHE STRING "Build type" FORCE)
endif()
# Debug builds are for the edit-test loop: they must compile fast and still give line numbers.
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g1")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    # What it needs to be told of precompiled headers. An optimised build, which has none, tells its own date and time.
    list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros)
  endif()
endif()
# Programs as well as libraries, so that they share precompiled headers.
add_compile_options(-fPIC)

# The number texts of records must not change with the compiler's freedom to contract a*b+c.
add_compile_options(-ffp-contract=off)

set(QX5_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize takes them: address,undefined or thread")
if(QX5_SANITIZE)
  add_compile_options(-fsanitize=${QX5_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    add_compile_options(-O1)
  endif()
  add_link_options(-fsanitize=${QX5_SANITIZE})
endif()

# Link with this for the warnings, which are errors.
add_library(qx5_warnings INTERFACE)
target_compile_options(qx5_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

include("${CMAKE_CURRENT_LIST_DIR}/FastBuilds.cmake")
