# The libraries of a build for Windows: Debian has a few for it, the others are headers alone and serve any platform.
#
# Of the build machine's headers only the folders of those libraries are seen, by way of links: beside them lies all
# that is Linux's own.
set(libraries "${PROJECT_BINARY_DIR}/libraries")
file(REMOVE_RECURSE "${libraries}")

# qx5_headers_alone(PACKAGE TARGET package to install HEADERS folders and files of /usr/include...): what find_package
# gives elsewhere.
function(qx5_headers_alone package target debian)
  foreach(header IN LISTS ARGN)
    if(NOT EXISTS "/usr/include/${header}")
      message(FATAL_ERROR "there is no /usr/include/${header}; install ${debian}")
    endif()
    cmake_path(GET header FILENAME name)
    file(MAKE_DIRECTORY "${libraries}/${package}")
    file(CREATE_LINK "/usr/include/${header}" "${libraries}/${package}/${name}" SYMBOLIC)
  endforeach()
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE "${libraries}/${package}")
  file(WRITE "${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/${package}Config.cmake" "")
endfunction()

qx5_headers_alone(asio qx5_asio_headers libasio-dev asio asio.hpp)
qx5_headers_alone(CLI11 CLI11::CLI11 libcli11-dev CLI)
qx5_headers_alone(nlohmann_json nlohmann_json::nlohmann_json nlohmann-json3-dev nlohmann)
qx5_headers_alone(RapidJSON rapidjson rapidjson-dev rapidjson)
set(RAPIDJSON_HEADERS "${libraries}/RapidJSON")
qx5_headers_alone(utf8cpp utf8cpp libutfcpp-dev utf8cpp/utf8 utf8cpp/utf8.h)
qx5_headers_alone(fmt fmt::fmt libfmt-dev fmt)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
qx5_headers_alone(spdlog spdlog::spdlog libspdlog-dev spdlog)
target_compile_definitions(spdlog::spdlog INTERFACE SPDLOG_FMT_EXTERNAL SPDLOG_WCHAR_FILENAMES)
target_link_libraries(spdlog::spdlog INTERFACE fmt::fmt)

# SQLite as one file, which npm's package better-sqlite3 brings along (`./dev windows` fetches it).
set(QX5_SQLITE_SOURCE "${PROJECT_SOURCE_DIR}/build/node/better-sqlite3/deps/sqlite3" CACHE PATH
  "Folder of sqlite3.c and sqlite3.h")
if(NOT EXISTS "${QX5_SQLITE_SOURCE}/sqlite3.c")
  message(FATAL_ERROR "there is no sqlite3.c in ${QX5_SQLITE_SOURCE}; ./dev windows fetches it")
endif()
add_library(qx5_sqlite STATIC "${QX5_SQLITE_SOURCE}/sqlite3.c")
target_include_directories(qx5_sqlite SYSTEM PUBLIC "${QX5_SQLITE_SOURCE}")
target_compile_definitions(qx5_sqlite PRIVATE SQLITE_THREADSAFE=1 SQLITE_OMIT_LOAD_EXTENSION SQLITE_DQS=0)
add_library(SQLite::SQLite3 ALIAS qx5_sqlite)
file(WRITE "${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/SQLite3Config.cmake" "")

# Compiled into the programs, as is all else that they need but for the compiler's own libraries. Those lie beside them:
# an exception or a type that passes from module to module is the same in each.
set(ZLIB_USE_STATIC_LIBS ON)
set(ZLIB_LIBRARY /usr/x86_64-w64-mingw32/lib/libz.a CACHE FILEPATH "zlib")
# They are tested here and not debugged.
add_compile_options(-g0)
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN)
link_libraries(ws2_32 mswsock winmm)
file(MAKE_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
foreach(runtime libgcc_s_seh-1.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${runtime}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  file(COPY_FILE "${file}" "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${runtime}" ONLY_IF_DIFFERENT)
endforeach()

# All that a program is linked with is searched until nothing is missing: a module is linked with the library of the
# host, and what both are made of needs that, too.
foreach(rule CMAKE_CXX_LINK_EXECUTABLE CMAKE_CXX_CREATE_SHARED_LIBRARY CMAKE_CXX_CREATE_SHARED_MODULE)
  string(REPLACE "<LINK_LIBRARIES>" "-Wl,--start-group <LINK_LIBRARIES> -Wl,--end-group" ${rule} "${${rule}}")
endforeach()
# A constant that is defined inline may come from one source in a section that is written and from another in one that
# is not; this linker takes only those of one kind for the same.
add_link_options(-Wl,--allow-multiple-definition)
