# Tests of the target store; included by the tests of the reference host.
find_package(SQLite3 REQUIRED)
qx5_add_test(targets_test SOURCES targets_test.cpp LIBRARIES vordalhost SQLite::SQLite3)
