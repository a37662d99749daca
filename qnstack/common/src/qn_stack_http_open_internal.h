// SPDX-License-Identifier: MIT
// The splitting of URLs, which the sources of the HTTP client share with each
// other and with its tests.
#ifndef QNSTACK_QN_STACK_HTTP_OPEN_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_OPEN_INTERNAL_H

#include <cstdint>

#include "qnstack/qn_stack_http.h"

namespace qn {

// Splits `url` into host, port and path and stores a copy of it. The host and
// path held before are not freed, the URL is; it may be `url` itself.
// Returns 0, or -1 with nothing changed for a null URL.
int32_t ParseUrl(QNHttpCtx *ctx, const char *url);

}  // namespace qn

#endif
