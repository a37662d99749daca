// SPDX-License-Identifier: MIT
// What the sources of the HTTP client share with each other and with its
// tests.
#ifndef QNSTACK_QN_STACK_HTTP_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_INTERNAL_H

#include <cstdint>

#include "qnstack/qn_stack_http.h"

namespace qn {

inline constexpr int32_t kDefaultPort = 80;  // of a URL that names none

extern char *http_proxy;         // proxy host, owned; null means no proxy
extern int32_t http_proxy_port;  // meaningful only while http_proxy is set
extern int32_t http_net_inited;  // 1 between a successful start and the next close

// A zeroed context with socket -1 and two empty buffers; null when the heap
// refuses any of the three.
QNHttpCtx *NewContext();

}  // namespace qn

#endif
