# Holds what the picture exports against its entry points: cmake -DNM=... -DMODULE=... -P exports_test.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix "${MODULE}"
  OUTPUT_VARIABLE listing RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM} cannot read ${MODULE}")
endif()
set(found)
string(REGEX REPLACE "\n+" ";" lines "${listing}")
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+) [A-Za-z] ")
    list(APPEND found "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(SORT found)
set(awaited DeviceCtrlInit InitializeTemplates LibraryAttach LibraryDetach RegisterDevices RegisterViews
  UnInitializeTemplates UnRegisterDevices)
if(NOT found STREQUAL awaited)
  message(FATAL_ERROR "${MODULE} exports\n  ${found}\nin place of\n  ${awaited}")
endif()
