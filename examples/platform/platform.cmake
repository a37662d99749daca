# SPDX-License-Identifier: MIT
# A device without an operating system: build for it with
# `cmake -DQNSTACK_PLATFORM=examples/platform`. The library qnstack_device keeps files.

set(platform_sources
  ${CMAKE_CURRENT_LIST_DIR}/device_sockets.cpp
  ${CMAKE_CURRENT_LIST_DIR}/device_clock.cpp
  ${CMAKE_CURRENT_LIST_DIR}/device_heap.cpp
  ${CMAKE_CURRENT_LIST_DIR}/device_search.cpp)
set(platform_file_port device)
set(platform_file_port_sources
  ${CMAKE_CURRENT_LIST_DIR}/device_files.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src/qn_fs_backup.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src/qn_fs_file_port.cpp)
set(platform_exports device_set_network device_set_clock)
