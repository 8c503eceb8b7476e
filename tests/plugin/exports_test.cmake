# Holds what the plug-in exports against what it documents: cmake -DNM=... -DMODULE=... -P exports_test.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${NM}" --dynamic --defined-only --demangle --format=posix "${MODULE}"
  OUTPUT_VARIABLE listing RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "${NM} cannot read ${MODULE}")
endif()

set(awaited
  DeviceCtrlInit DiscoverDevices InitializeTemplates LibraryAttach LibraryDetach RegisterDevices RegisterViews
  ReleaseDevices UnInitializeTemplates UnRegisterDevices)
# What a compiler makes of an exported class with virtual functions, and some members that stand for all.
foreach(class QX5SonarConfigurationControlDevice QX5SonarConfigurationInfo)
  list(APPEND awaited "vtable for ${class}" "typeinfo for ${class}" "typeinfo name for ${class}")
endforeach()
list(APPEND awaited
  "QX5SonarConfigurationControlDevice::QX5SonarConfigurationControlDevice()"
  "QX5SonarConfigurationControlDevice::HandleRequestMap(CAttributeMap*)"
  "QX5SonarConfigurationControlDevice::SendDGNSSGeometry(CAttributeMap*)"
  "QX5SonarConfigurationInfo::Instance()"
  "QX5SonarConfigurationInfo::ClearList()")

string(REPLACE ";" "," listing "${listing}")
string(REGEX REPLACE "\n+" ";" lines "${listing}")
set(found "")
set(strays "")
foreach(line IN LISTS lines)
  # NAME TYPE VALUE SIZE, and a name may have blanks in it.
  if(NOT line MATCHES "^(.+) [A-Za-z] [0-9a-f]+( [0-9a-f]+)?$")
    continue()
  endif()
  set(name "${CMAKE_MATCH_1}")
  list(APPEND found "${name}")
  if(name IN_LIST awaited OR name MATCHES "^QX5SonarConfiguration(ControlDevice|Info)::")
    continue()
  endif()
  list(APPEND strays "${name}")
endforeach()

set(problems "")
foreach(name IN LISTS strays)
  string(APPEND problems "\n  exported, though nobody is to see it: ${name}")
endforeach()
foreach(name IN LISTS awaited)
  if(NOT name IN_LIST found)
    string(APPEND problems "\n  not exported: ${name}")
  endif()
endforeach()
if(problems)
  message(FATAL_ERROR "${MODULE}${problems}")
endif()
list(LENGTH found count)
message(STATUS "${count} names, all of them documented")
