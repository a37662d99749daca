# Sends the platform's network calls of a test program through
# network_faults.cpp, which must be among its sources.
function(qnstack_wrap_network target)
  foreach(call socket connect send recv close setsockopt gethostbyname)
    target_link_options(${target} PRIVATE "LINKER:--wrap=${call}")
  endforeach()
endfunction()
