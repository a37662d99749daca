# SPDX-License-Identifier: MIT
# The POSIX file port. What POSIX.1-2008 has not, or not everywhere, stands in
# sources of its own, of which the ones are taken that the system can do with.

option(QNSTACK_PLAIN_POSIX "Build for POSIX.1-2008 alone, whatever the system has beyond it" OFF)

include(CheckCXXSourceCompiles)
include(CheckCXXSymbolExists)
check_cxx_source_compiles("
  #include <fcntl.h>
  #include <linux/openat2.h>
  #include <sys/syscall.h>
  #include <unistd.h>
  int main() {
    open_how how = {};
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    how.flags = O_PATH;
    return static_cast<int>(syscall(SYS_openat2, AT_FDCWD, \".\", &how, sizeof how));
  }" QNSTACK_HAS_OPENAT2)
check_cxx_symbol_exists(flock sys/file.h QNSTACK_HAS_FLOCK)

set(qnstack_resolver plain)
if(QNSTACK_HAS_OPENAT2 AND NOT QNSTACK_PLAIN_POSIX)
  set(qnstack_resolver linux)
endif()
set(qnstack_lock none)
if(QNSTACK_HAS_FLOCK)
  set(qnstack_lock flock)
endif()

set(posix_port_sources
  qnstack/qnfs/Posix_porting/src/qn_fs_beneath.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_descriptor.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_directory.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_file.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_lock_${qnstack_lock}.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_replacement.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_store.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_unread.cpp
  qnstack/qnfs/Posix_porting/src/qn_fs_walk.cpp
  qnstack/qnfs/common/src/qn_fs_file_port.cpp)
add_library(qnstack_port_posix OBJECT ${posix_port_sources}
  qnstack/qnfs/Posix_porting/src/qn_fs_resolve_${qnstack_resolver}.cpp)
# The port as it is on a system that has nothing else; for tests.
add_library(qnstack_port_posix_plain OBJECT EXCLUDE_FROM_ALL ${posix_port_sources}
  qnstack/qnfs/Posix_porting/src/qn_fs_resolve_plain.cpp)
