# Tests of the target store; included by the tests of the reference host.
find_package(SQLite3 REQUIRED)
qx5_add_test(targets_test SOURCES targets_test.cpp LIBRARIES vordalhost SQLite::SQLite3)
qx5_add_test(target_list_test SOURCES target_list_test.cpp LIBRARIES vordalhost)
qx5_add_test(followed_targets_test SOURCES followed_targets_test.cpp LIBRARIES vordalhost SQLite::SQLite3 TIMEOUT 300)
