# SPDX-License-Identifier: MIT
# A system with BSD sockets, a C library and files: what Linux is, and others of
# its kind. Programs run there, so qnget, the examples and all tests can be built.

include(cmake/posix_port.cmake)

set(platform_sources
  ${PROJECT_SOURCE_DIR}/qnstack/Mac_porting/src/qn_stack_platform.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Mac_porting/src/qn_fs_platform.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnshare/Mac_porting/src/qn_share_platform.cpp)
set(platform_runs_programs ON)
if(QNSTACK_PLAIN_POSIX)
  set_source_files_properties(${platform_sources} PROPERTIES
    COMPILE_DEFINITIONS QNSTACK_PLAIN_POSIX)
endif()

# The library qnstack_posix keeps files.
set(platform_file_port posix)
set(platform_file_port_sources ${posix_port_sources})
