# Tests of the link; included by the tests of the reference host.
qx5_add_test(link_test SOURCES link_test.cpp link_parts_test.cpp LIBRARIES vordal_sonar_link fault_relay vordal_asio)
qx5_add_test(link_port_test SOURCES echo_streams_test.cpp link_port_test.cpp raw_port_test.cpp repeated_trees_test.cpp
  LIBRARIES vordalhost qx5_protocol fault_relay vordal_asio)
