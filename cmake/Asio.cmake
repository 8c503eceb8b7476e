# Asio as all of ours use it: alone, without its older names.
find_package(Threads REQUIRED)

add_library(vordal_asio INTERFACE)
target_compile_definitions(vordal_asio INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED)
if(QX5_SANITIZE MATCHES "thread")
  # The thread sanitizer does not understand fences; Asio's mutexes order all that the fences do.
  target_compile_definitions(vordal_asio INTERFACE ASIO_DISABLE_FENCED_BLOCK)
endif()
target_link_libraries(vordal_asio INTERFACE Threads::Threads $<TARGET_NAME_IF_EXISTS:qx5_asio_headers>)

qx5_share_precompiled(qx5_network_precompiled LIBRARIES vordal_asio HEADERS ${qx5_common_headers} <asio.hpp>)
