# SPDX-License-Identifier: MIT
# Sends a test program's own calls to the heap through failing_heap.cpp, which
# must be among its sources.
function(qnstack_wrap_heap target)
  qnstack_wrap_calls(${target} malloc calloc realloc free)
endfunction()
