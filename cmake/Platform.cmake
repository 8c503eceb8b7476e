# Sources that call the system: a file for each platform under one name.

# qx5_platform_sources(target platform/NAME.cpp...): on Windows the file of that name in
# platform/windows/, where there is one; on all others the one in platform/ itself.
function(qx5_platform_sources target)
  foreach(source IN LISTS ARGN)
    cmake_path(GET source PARENT_PATH folder)
    cmake_path(GET source FILENAME name)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE OUTPUT_VARIABLE taken)
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE OUTPUT_VARIABLE other)
    set(other "${other}/windows/${name}")
    if(WIN32 AND EXISTS "${other}")
      set(taken "${other}")
      # The system's headers bring names that others have, too.
      set_source_files_properties("${taken}" PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON SKIP_PRECOMPILE_HEADERS ON)
    endif()
    target_sources(${target} PRIVATE "${taken}")
    set_property(GLOBAL APPEND PROPERTY QX5_SOURCES_NOT_BUILT_HERE "${other}")
  endforeach()
endfunction()

# qx5_windows_sources(target platform/windows/NAME.cpp...): what is there on Windows alone.
function(qx5_windows_sources target)
  list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  if(WIN32)
    target_sources(${target} PRIVATE ${ARGN})
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON SKIP_PRECOMPILE_HEADERS ON)
  endif()
  set_property(GLOBAL APPEND PROPERTY QX5_SOURCES_NOT_BUILT_HERE ${ARGN})
endfunction()
