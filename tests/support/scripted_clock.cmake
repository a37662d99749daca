# SPDX-License-Identifier: MIT
# Sends a test program's own calls to the clock and to the C library's random
# numbers through scripted_clock.cpp, which must be among its sources.
function(qnstack_wrap_clock target)
  qnstack_wrap_calls(${target} time localtime_r tzset srand rand)
endfunction()
