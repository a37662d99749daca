# SPDX-License-Identifier: MIT
# Sends the HTTP client's calls to the socket layer through
# socket_layer_faults.cpp, which must be among the program's sources.
function(qnstack_wrap_socket_layer target)
  foreach(call SocketInit CreateSocket SendData RecvData)
    target_link_options(${target} PRIVATE "LINKER:--wrap=fnQN_Stack_${call}")
  endforeach()
endfunction()
