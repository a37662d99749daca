# SPDX-License-Identifier: MIT
# Sends a test program's own calls to the file system through file_faults.cpp,
# which must be among its sources.
function(qnstack_wrap_files target)
  qnstack_wrap_calls(${target}
    open openat __open_2 __openat_2 syscall read write fsync fdatasync ftruncate renameat
    linkat unlinkat mkdirat close flock futimens fstat fstatat fcntl fdopen fdopendir
    readdir closedir)
endfunction()
