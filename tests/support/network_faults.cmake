# SPDX-License-Identifier: MIT
# Sends the platform's network calls of a test program through
# network_faults.cpp, which must be among its sources.
function(qnstack_wrap_network target)
  qnstack_wrap_calls(${target} socket connect send recv close setsockopt gethostbyname)
endfunction()
