# Stops the configuration when a source file of the project is in no list of sources: nobody would build it, and what it
# tests or promises would go unseen.

# qx5_collect_sources(folder result): appends the sources of all targets of that folder and those below it.
function(qx5_collect_sources folder result)
  set(all ${${result}})
  get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
      if(source AND NOT source MATCHES "^\\$<")
        get_target_property(base ${target} SOURCE_DIR)
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${base}" NORMALIZE)
        list(APPEND all "${source}")
      endif()
    endforeach()
  endforeach()
  get_property(subfolders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    qx5_collect_sources("${subfolder}" all)
  endforeach()
  set(${result} "${all}" PARENT_SCOPE)
endfunction()

# qx5_every_source_is_built(folder...): to be called last. A folder "fixture" holds a project of its own.
function(qx5_every_source_is_built)
  get_property(built GLOBAL PROPERTY QX5_SOURCES_NOT_BUILT_HERE)
  qx5_collect_sources("${PROJECT_SOURCE_DIR}" built)
  foreach(folder IN LISTS ARGN)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
    foreach(source IN LISTS sources)
      if(NOT source IN_LIST built AND NOT source MATCHES "/fixture/")
        message(FATAL_ERROR "${source} is in no list of sources: name it in the CMakeLists.txt of its folder, otherwise "
          "nobody builds it")
      endif()
    endforeach()
  endforeach()
endfunction()
