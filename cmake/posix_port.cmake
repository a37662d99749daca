# SPDX-License-Identifier: MIT
# The sources of the POSIX file port. What POSIX.1-2008 has not, or not everywhere,
# stands in sources of its own, of which the ones are taken that the system can do
# with.

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

set(port ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Posix_porting/src)
set(shared_sources
  ${port}/qn_fs_beneath.cpp
  ${port}/qn_fs_descriptor.cpp
  ${port}/qn_fs_directory.cpp
  ${port}/qn_fs_file.cpp
  ${port}/qn_fs_lock_${qnstack_lock}.cpp
  ${port}/qn_fs_replacement.cpp
  ${port}/qn_fs_store.cpp
  ${port}/qn_fs_unread.cpp
  ${port}/qn_fs_walk.cpp
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src/qn_fs_file_port.cpp)
set(posix_port_sources ${shared_sources} ${port}/qn_fs_resolve_${qnstack_resolver}.cpp)
# The port as it is on a system that has nothing else; tests run on it too.
set(posix_port_plain_sources ${shared_sources} ${port}/qn_fs_resolve_plain.cpp)
