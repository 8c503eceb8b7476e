# The project store; included by the reference host.
find_package(SQLite3 REQUIRED)
find_package(ZLIB REQUIRED)
target_sources(vordalhost PRIVATE store/project_store.cpp store/sqlite_file.cpp)
qx5_platform_sources(vordalhost platform/replace_file.cpp)
target_link_libraries(vordalhost PRIVATE SQLite::SQLite3 ZLIB::ZLIB)
