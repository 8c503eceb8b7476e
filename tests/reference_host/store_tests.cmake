# Tests of the project store; included by the tests of the reference host.
find_package(SQLite3 REQUIRED)
qx5_add_test(store_test SOURCES store_test.cpp LIBRARIES vordalhost SQLite::SQLite3)
