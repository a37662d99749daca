# SPDX-License-Identifier: MIT
# A system with BSD sockets, a C library and files: what Linux is, and others of
# its kind. Programs run there, so qnget, the examples and all tests can be built.

set(platform_sources
  ${PROJECT_SOURCE_DIR}/qnstack/Mac_porting/src/qn_stack_platform.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Mac_porting/src/qn_fs_platform.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnshare/Mac_porting/src/qn_share_platform.cpp)
set(platform_runs_programs ON)

# The library qnstack_posix keeps files.
set(platform_file_port posix)
set(platform_file_port_sources
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_beneath.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_descriptor.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_directory.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_file.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_replacement.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_store.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src/qn_fs_unread.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src/qn_fs_file_port.cpp)
