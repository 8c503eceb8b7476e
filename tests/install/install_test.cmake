# Installs the project into an empty folder, builds the example plug-in against that alone, and loads it.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${FOLDER}")
set(prefix "${FOLDER}/prefix")

# run(COMMAND...): stops the test unless the command succeeds; its output is in `output`.
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE code OUTPUT_VARIABLE said ERROR_VARIABLE said)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "${ARGV}\nended with ${code}:\n${said}")
  endif()
  set(output "${said}" PARENT_SCOPE)
endfunction()

function(expect_loaded file)
  run("${prefix}/bin/qx5" plugin "${file}")
  foreach(line "fits this host" "device class ${ARGV1}\n" "and is unloaded again")
    string(FIND "${output}" "${line}" at)
    if(at EQUAL -1)
      message(FATAL_ERROR "`qx5 plugin ${file}` does not say \"${line}\":\n${output}")
    endif()
  endforeach()
endfunction()

run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}")
foreach(file bin/qx5 lib/libvordalhost.so lib/qx5/QX5SonarConfiguration.so lib/pkgconfig/vordal-host-contract.pc
    lib/cmake/VordalHostContract/VordalHostContractConfig.cmake
    lib/libvordalhost.so.5.5 share/doc/qx5/docs/index.md share/doc/qx5/docs/manual/day.md share/doc/qx5/CHANGELOG.md share/doc/qx5/docs/images/window-light.png
    share/doc/qx5/README.md share/doc/qx5/CONTRIBUTING.md share/doc/qx5/examples/smallest_plugin/plugin.cpp
    share/doc/qx5/examples/echo_sounder/plugin.cpp share/qx5/x5_records.lua
    share/bash-completion/completions/qx5 share/zsh/vendor-completions/_qx5 share/fish/vendor_completions.d/qx5.fish
    share/man/man1/qx5.1 share/man/man1/qx5-send.1 share/man/man1/qx5-serve.1
    share/doc/qx5/tests/scenarios/gates.json
    lib/systemd/system/qx5-serve@.service lib/sysusers.d/qx5.conf
    include/vordal-host-contract/vordalhostdllR/EntryPoints.h include/vordal-host-contract/vordalhostdllR/Device.h)
  if(NOT EXISTS "${prefix}/${file}")
    message(FATAL_ERROR "${file} is not installed")
  endif()
endforeach()
if(VIEW)
  foreach(file applications/qx5.desktop applications/qx5-project.desktop applications/qx5-recording.desktop
      icons/hicolor/scalable/apps/qx5.svg mime/packages/qx5.xml)
    if(NOT EXISTS "${prefix}/share/${file}")
      message(FATAL_ERROR "share/${file} is not installed")
    endif()
  endforeach()
endif()
file(GLOB_RECURSE installed RELATIVE "${prefix}/include/vordal-host-contract" "${prefix}/include/*")
foreach(file IN LISTS installed)
  if(NOT file MATCHES "^[A-Za-z0-9]+R/[A-Za-z0-9]+\\.h$")
    message(FATAL_ERROR "${file} is no header of the contract, and is installed")
  endif()
endforeach()

expect_loaded("${prefix}/lib/qx5/QX5SonarConfiguration.so" QX5SonarConfigurationControlDevice)
# The picture is a plug-in like any other: what it is built of needs nothing but what is installed.
if(VIEW)
  run("${prefix}/bin/qx5" plugin "${prefix}/lib/qx5/X5SonarPicture.so")
  foreach(line "fits this host" "view class X5 Fan\n" "display template X5 Waterfall\n" "and is unloaded again")
    string(FIND "${output}" "${line}" at)
    if(at EQUAL -1)
      message(FATAL_ERROR "`qx5 plugin` does not say \"${line}\" of the picture:\n${output}")
    endif()
  endforeach()
  file(COPY "${PICTURE}/" DESTINATION "${FOLDER}/picture")
  file(WRITE "${FOLDER}/picture/CMakeLists.txt" [[
cmake_minimum_required(VERSION 3.25)
project(picture LANGUAGES CXX)
find_package(VordalHostContract REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)
file(GLOB sources *.cpp picture/*.cpp view/*.cpp)
add_library(X5SonarPicture MODULE ${sources})
set_target_properties(X5SonarPicture PROPERTIES PREFIX "" CXX_STANDARD 20 CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden)
target_include_directories(X5SonarPicture PRIVATE .)
target_link_libraries(X5SonarPicture PRIVATE VordalHostContract::HostContract Qt6::Widgets)
]])
  run("${CMAKE_COMMAND}" -G "${GENERATOR}" "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}" -S "${FOLDER}/picture"
    -B "${FOLDER}/picture/build" "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${COMPILER}"
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
  run("${CMAKE_COMMAND}" --build "${FOLDER}/picture/build")
  run("${prefix}/bin/qx5" plugin "${FOLDER}/picture/build/X5SonarPicture.so")
endif()
# The installed command finds the installed plug-in by itself.
run("${prefix}/bin/qx5" explain x5Range)

# By CMake's package, with the generator that builds the project: there may be no tool for the one that CMake or the
# environment would choose.
set(ENV{CMAKE_GENERATOR} "none that is there")
run("${CMAKE_COMMAND}" -G "${GENERATOR}" "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}" -S "${EXAMPLE}"
  -B "${FOLDER}/by_cmake" "-DCMAKE_PREFIX_PATH=${prefix}"
  "-DCMAKE_CXX_COMPILER=${COMPILER}" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run("${CMAKE_COMMAND}" --build "${FOLDER}/by_cmake")
expect_loaded("${FOLDER}/by_cmake/smallest_plugin.so" EchoSounder)

# By pkg-config.
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "there is no pkg-config: install Debian's package of that name and configure again, as ./dev test does")
endif()
set(ENV{PKG_CONFIG_PATH} "${prefix}/lib/pkgconfig")
run("${PKG_CONFIG}" --cflags vordal-host-contract)
separate_arguments(flags UNIX_COMMAND "${output}")
run("${COMPILER}" -std=c++20 -shared -fPIC ${flags} "${EXAMPLE}/plugin.cpp" -o "${FOLDER}/by_pkg_config.so")
expect_loaded("${FOLDER}/by_pkg_config.so" EchoSounder)
