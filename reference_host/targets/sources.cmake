# The target store; included by the reference host.
find_package(SQLite3 REQUIRED)
target_sources(vordalhost PRIVATE contract/SonarTargetsManager.cpp targets/followed_target_file.cpp targets/target_file.cpp
  targets/target_list.cpp targets/target_store.cpp)
target_link_libraries(vordalhost PRIVATE SQLite::SQLite3)
