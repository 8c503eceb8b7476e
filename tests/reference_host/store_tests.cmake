# Tests of the project store; included by the tests of the reference host.
qx5_add_test(store_test SOURCES store_test.cpp LIBRARIES vordalhost)
