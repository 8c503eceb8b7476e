# The sonar link and what stands on it; included by the reference host.
# The transport knows nothing of the rest of the host and is tested without it.
add_library(vordal_sonar_link OBJECT
  "${CMAKE_CURRENT_LIST_DIR}/connecting.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/frame_receiving.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/frame_sending.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/link_thread.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/name_look_up.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/../common/send_gathering.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/../common/task_lanes.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/send_queue.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/sent_frames.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/sonar_link.cpp")
qx5_platform_sources(vordal_sonar_link platform/line_watch.cpp platform/short_turns.cpp)
target_compile_definitions(vordal_sonar_link PRIVATE VORDAL_HOST_BUILD)
target_include_directories(vordal_sonar_link PUBLIC "${PROJECT_SOURCE_DIR}")
target_link_libraries(vordal_sonar_link PUBLIC vordal_host_contract qx5_protocol Threads::Threads
  PRIVATE vordal_asio qx5_warnings)
qx5_take_precompiled(vordal_sonar_link qx5_network_precompiled)
qx5_compile_together(vordal_sonar_link)

target_sources(vordalhost PRIVATE
  link/echo_blocks.cpp link/echo_streams.cpp link/frame_addressees.cpp link/live_port.cpp link/live_traffic.cpp link/raw_port.cpp link/repeated_trees.cpp streams/settings_data.cpp
 link/x5_port.cpp)
target_link_libraries(vordalhost PRIVATE vordal_sonar_link)
