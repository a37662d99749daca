# Sends a test program's own calls to the heap through failing_heap.cpp, which
# must be among its sources.
function(qnstack_wrap_heap target)
  foreach(call malloc calloc realloc strdup free)
    target_link_options(${target} PRIVATE "LINKER:--wrap=${call}")
  endforeach()
endfunction()
