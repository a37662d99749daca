// What the sources of the HTTP client share with each other and with its
// tests.
#ifndef QNSTACK_QN_STACK_HTTP_INTERNAL_H
#define QNSTACK_QN_STACK_HTTP_INTERNAL_H

#include <cstdint>

#include "qnstack/qn_stack_http.h"

namespace qn {

extern char *http_proxy;         // proxy host, owned; null means no proxy
extern int32_t http_proxyPort;   // meaningful only while http_proxy is set
extern int32_t http_net_inited;  // 1 between a successful start and the next close

// A zeroed context with socket -1 and two empty buffers; null when the heap
// refuses any of the three.
QNHttpCtx *fnQNStack_Http_NewCtx();

// Splits `url` into host, port and path and stores a copy of it. The host and
// path held before are not freed, the URL is; it may be `url` itself.
// Returns 0, or -1 with nothing changed for a null URL.
int32_t fnQNStack_Http_ParseURL(QNHttpCtx *ctx, const char *url);

class Trace;

// Writes the request of a context, or that of a tunnel, into its send buffer.
// Without a proxy there is no tunnel to ask for.
void ComposeRequest(QNHttpCtx *ctx, Trace &trace);
void ComposeTunnel(QNHttpCtx *ctx, Trace &trace);

// Whether the context is a tunnel.
bool IsConnect(const QNHttpCtx &ctx);

// Frees a string of a context and clears the field.
void FreeText(char *&text);

}  // namespace qn

#endif
