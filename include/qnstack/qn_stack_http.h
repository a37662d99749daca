/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_http.h
 * @brief The HTTP client: one exchange is one #QNHttpCtx, driven by the caller.
 *
 * The order of calls: start the stack, perhaps set a proxy, open a context,
 * call a read function until it gives 0 or -1, free the context, close the
 * stack. Requests are HTTP/1.0 (RFC 1945) and an answer ends when the server
 * closes the connection; a CONNECT request to a proxy is HTTP/1.1 (RFC 2817).
 * Nothing checks that an answer came whole: compare what came with `retCtxLen`.
 *
 * Results of the functions here: -1 failed; -2 not finished, call again; 0
 * done, or nothing more to deliver; above 0 a count of delivered bytes.
 *
 * Everything happens in the caller's thread: sockets block, so a call may wait
 * inside resolving, connecting, sending or receiving. All contexts share
 * scratch memory and the proxy setting; never drive two from two threads.
 *
 * The client prints short trace texts, without line ends, to standard output,
 * each where it arises. An application that needs its standard output points
 * descriptor 1 elsewhere.
 */
#ifndef QNSTACK_QN_STACK_HTTP_H
#define QNSTACK_QN_STACK_HTTP_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_stack_membuffer.h"

QN_BEGIN_DECLS

/**
 * @addtogroup http
 * @{
 */

/** States of a context, as fnQNStack_Http_getState() gives them. */
enum {
  QN_HTTP_NEW = 0,              /**< resolve the server or the proxy next */
  QN_HTTP_RESOLVED = 1,         /**< connect next */
  QN_HTTP_CONNECTED = 2,        /**< compose the request next */
  QN_HTTP_SENDING = 3,          /**< the request is going out */
  QN_HTTP_RECEIVING = 4,        /**< the answer is coming in */
  QN_HTTP_COMPLETE = 5,         /**< the peer closed, or receiving failed or ran out of memory
                                     after some data */
  QN_HTTP_STOPPED = 6,          /**< stopped by fnQNStack_Http_Stop() */
  QN_HTTP_RESOLVE_FAILED = -10, /**< no free socket slot, or the name has no address */
  QN_HTTP_CONNECT_FAILED = -11, /**< at the connect step: no free socket slot, or the slot's
                                     connection had failed before */
  QN_HTTP_SEND_FAILED = -12,    /**< sending failed, the request cannot go out whole, or another
                                     context has taken the slot; also a refused connection */
  QN_HTTP_RECEIVE_FAILED = -13, /**< receiving failed before any byte came */
  QN_HTTP_GIVEN_UP = -14        /**< more than 3000 calls in a row without progress */
};

/**
 * One HTTP exchange. Made by an open function, released by
 * fnQNStack_Http_FreeCtx(). A program may read every field. Strings belong to
 * the context and may be replaced or freed by any call that drives it.
 *
 * A redirect keeps `retCtxLen` and `retValue` until the next answer has its own.
 * A `retCtxLen` of 2147483647 cannot be compared with what came.
 */
typedef struct QNHttpCtx {
  char *url;             /**< the URL as given; replaced by an answer's location */
  char *hostname;        /**< server host, without port and scheme, as written in the URL */
  int32_t port;          /**< server port; 80 unless the URL says otherwise */
  char *path;            /**< request path with its query, at least "/" */
  int32_t socket;        /**< slot in #socket_list; -1 for none, 0 after some failures. A finished
                              context keeps its old number although the slot is free again */
  int32_t state;         /**< see #QN_HTTP_NEW and its kin */
  char *method;          /**< "GET", "HEAD", "POST", "PUT" or "CONNECT" */
  QNMemBuffer *sendBuf;  /**< the composed request, consumed while it is sent */
  char *contentType;     /**< media type of the request body */
  const void *content;   /**< the caller's request body, never freed here; must stay valid and
                              unchanged until the request has been composed */
  int32_t contentLen;    /**< length of the request body in bytes; 0 for none */
  QNMemBuffer *recvBuf;  /**< the raw answer as far as received and not yet taken */
  int32_t headParsed;    /**< 1 once the answer's header has been consumed */
  char *retCtxType;      /**< first word of the answer's "Content-Type:", with any ';' */
  int32_t retEncoding;   /**< 0 no "Content-Encoding:", -1 "gzip", 1 any other; bodies are never
                              decoded */
  int32_t retCtxLen;     /**< the answer's "Content-Length:", for information; 0 if there was
                              none, -1 if unreadable, 2147483647 for all larger numbers */
  int32_t retValue;      /**< the answer's status code; 0 if it cannot be read */
  int32_t redirectCount; /**< redirects followed so far; never reset */
  int32_t tryCount;      /**< calls in a row without progress */
} QNHttpCtx;

/**
 * The context that fnQNStack_Http_Run() worked on last; NULL after
 * fnQNStack_Http_Stop(). It may point at a freed context: compare it, do not
 * follow it.
 */
extern QN_API QNHttpCtx *gCtx;

/**
 * Starts the HTTP stack and loads the default request headers.
 *
 * @return 0; also when it is already started, in which case nothing is done
 *         and changed headers stay changed. -1 if the socket layer cannot
 *         start.
 */
QN_API int32_t fnQNStack_Http_InitStack(void);

/**
 * Stops the HTTP stack: the header table and the cookie jar are emptied. The
 * proxy setting stays, and open contexts are not touched.
 *
 * @return always 0.
 */
QN_API int32_t fnQNStack_Http_CloseStack(void);

/**
 * Sets or removes the proxy for every context from its next resolve step on.
 *
 * @param host proxy host name or dotted address, copied; NULL for no proxy. When
 *        the heap refuses the copy, the proxy before stays.
 * @param port proxy port.
 */
QN_API void fnQNStack_Http_SetProxy(const char *host, int32_t port);

/**
 * Tells whether a proxy is set.
 *
 * @return 1 if so, else 0.
 */
QN_API int32_t fnQNStack_Have_Proxy(void);

/**
 * Releases a context, its buffers and its slot.
 *
 * Must be called for every context, whatever its state. Free a finished
 * context before you open the next: it still holds its old slot number, and
 * freeing it closes the socket that has this slot now. The request body is left
 * alone.
 *
 * @param ctx the context, not to be used again; NULL does nothing.
 */
QN_API void fnQNStack_Http_FreeCtx(QNHttpCtx *ctx);

/**
 * The state of a context.
 *
 * @param ctx the context, or NULL.
 * @return #QN_HTTP_NEW and its kin; -1 for NULL.
 */
QN_API int32_t fnQNStack_Http_getState(const QNHttpCtx *ctx);

/**
 * Stops a context for good and closes its socket. What it has received can
 * still be read with fnQNStack_Http_ReadRecvContext(); if that is a redirect,
 * reading it starts the context anew. A finished context still holds its old
 * slot number, and stopping it closes the socket that has this slot now.
 *
 * @param ctx the context; NULL does nothing.
 */
QN_API void fnQNStack_Http_Stop(QNHttpCtx *ctx);

/**
 * Opens a GET request.
 *
 * The URL is split into host, port and path as RFC 1738 writes them.
 *
 * - The scheme is ignored: "://" is looked for anywhere in the text, and what
 *   stands before it does not matter.
 * - The host ends at the first ':', '/' or '?'. A '?' right after the host makes
 *   a path without a slash.
 * - The port ends at the next '/', so "h:81?x" has the path "/". A port that is
 *   no number is 80.
 * - A '#' means nothing: the fragment behind it is sent with the path, and right
 *   after the host it becomes part of the host. Cut it off before the call.
 * - A CR or LF in the host or the path would begin a further line of the request.
 *   Such a request is not sent: it ends in #QN_HTTP_SEND_FAILED.
 *
 * @param url terminated string; copied.
 * @return a new context in state #QN_HTTP_NEW, owned by the caller and
 *         released with fnQNStack_Http_FreeCtx(); NULL for a NULL URL or when
 *         the heap refuses the context. If the heap refuses only a text of it,
 *         that text is NULL. A request is sent whole or not at all: without
 *         memory for any part of it, it ends in #QN_HTTP_SEND_FAILED.
 */
QN_API QNHttpCtx *fnQNStack_Http_Open_Get(const char *url);

/**
 * Opens a HEAD request.
 *
 * @param url as for fnQNStack_Http_Open_Get().
 * @return as fnQNStack_Http_Open_Get().
 */
QN_API QNHttpCtx *fnQNStack_Http_Open_Head(const char *url);

/**
 * Opens a POST request.
 *
 * @param url as for fnQNStack_Http_Open_Get().
 * @param body the request body. It is not copied now: it must stay valid and
 *        unchanged until the request has been composed (state 3). Never freed
 *        by the library. NULL sends no body; with a length above 0 the server
 *        would then wait for bytes that never come.
 * @param length length of the body in bytes; 0 or less sends no body and none
 *        of its headers.
 * @param type media type of the body, copied; NULL means
 *        "application/x-www-form-urlencoded".
 * @return as fnQNStack_Http_Open_Get().
 */
QN_API QNHttpCtx *fnQNStack_Http_Open_Post(const char *url, const void *body, int32_t length,
                                           const char *type);

/**
 * Opens a PUT request. With a body it carries the line
 * " Expect: 100-Continue". Its leading blank is kept: peers have always seen it.
 *
 * @param url as for fnQNStack_Http_Open_Get().
 * @param body as for fnQNStack_Http_Open_Post().
 * @param length as for fnQNStack_Http_Open_Post().
 * @param type as for fnQNStack_Http_Open_Post().
 * @return as fnQNStack_Http_Open_Get().
 */
QN_API QNHttpCtx *fnQNStack_Http_Open_Put(const char *url, const void *body, int32_t length,
                                          const char *type);

/**
 * Opens a tunnel through the proxy (RFC 2817, section 5). `url` and `path` stay
 * NULL.
 *
 * Call fnQNStack_Http_Run() until the state is #QN_HTTP_SENDING and `sendBuf`
 * has its cursor at its length, and no further: from then on Run(), Call_Run()
 * and the read functions receive as fnQNStack_Http_RecvConnectData() does,
 * which may never return. Exchange bytes with fnQNStack_Http_Socket_SendData()
 * and fnQNStack_Http_Socket_Recvata() instead.
 *
 * @warning Set a proxy before the first Run(). Without one the context connects
 * to the host itself, sends nothing and waits for data, so that the very first
 * call may never return.
 *
 * @param host host to reach through the proxy; copied. With NULL the request
 *        names "(null)"; without a proxy the first Run() fails. A host with a CR
 *        or LF ends in #QN_HTTP_SEND_FAILED.
 * @param port its port.
 * @return a new context as from fnQNStack_Http_Open_Get(), also for a NULL host;
 *         NULL when the heap refuses the context or its host.
 */
QN_API QNHttpCtx *fnQNStack_Http_Open_Connect(const char *host, int32_t port);

/**
 * Appends up to 4000 bytes of a file to the request buffer. A context that is
 * driven still composes its own request behind them.
 *
 * @param ctx the context.
 * @param name file name, as for fnQNFS_ReadFromFile().
 * @return 0; -1, with the buffer unchanged, if the file gave nothing, the heap
 *         refused, or an argument is NULL.
 */
QN_API int32_t fnQNStack_Http_LoadHeadFromFile(QNHttpCtx *ctx, const char *name);

/**
 * Appends up to 4000 bytes of a file to the answer buffer. Read a stored answer
 * with fnQNStack_Http_ParseAnswer() and fnQN_MemBuffer_Read(). The read functions
 * of a context ask the network first, unless its `state` is set to
 * #QN_HTTP_COMPLETE.
 *
 * @param ctx the context.
 * @param name file name, as for fnQNFS_ReadFromFile().
 * @return as fnQNStack_Http_LoadHeadFromFile().
 */
QN_API int32_t fnQNStack_Http_LoadReponseFromFile(QNHttpCtx *ctx, const char *name);

/**
 * Composes the request of a GET, HEAD, POST or PUT context into its request
 * buffer, which is assumed to be empty. Called by fnQNStack_Http_Run().
 *
 * These pieces are cut at 2047 bytes each: the method with the target; the
 * "Host:" and the "Content-Type:" line, whose line ends are then lost, so that
 * the next line joins them; and the cookie, whose line end stays. The lines of
 * the header table and the body are not cut.
 *
 * @param ctx the context.
 * @return 0; -1, with nothing appended, for NULL and for a request that must not
 *         be sent: the heap refused a part of it, a header that the table should
 *         hold or the newest cookie, or a CR or LF stands in its host or path.
 */
QN_API int32_t fnQNStack_Http_PrepareQuest(QNHttpCtx *ctx);

/**
 * Composes a CONNECT request into the request buffer, which is assumed to be
 * empty. Called by fnQNStack_Http_Run().
 *
 * @param ctx the context.
 * @return 0; -1 with nothing appended when no proxy is set, the heap refuses, a CR
 *         or LF stands in the host, or @p ctx is NULL.
 */
QN_API int32_t fnQNStack_Http_PrepareQuest_Connect(QNHttpCtx *ctx);

/**
 * Moves a context forward by as many steps as succeed at once: resolve,
 * connect, compose, send one chunk of at most 2048 bytes, or receive until the
 * peer closes or more than 20480 bytes wait to be read.
 *
 * @param ctx the context.
 * @return -2 under way, call again; 0 this call completed the answer, or the
 *         state was final already; -1 this call failed the context (its state
 *         says how), or @p ctx is NULL.
 */
QN_API int32_t fnQNStack_Http_Run(QNHttpCtx *ctx);

/**
 * fnQNStack_Http_Run() for a socket event callback; traces each call.
 *
 * @param ctx the context.
 * @return as fnQNStack_Http_Run(), but 0 for NULL.
 */
QN_API int32_t fnQNStack_Http_Call_Run(QNHttpCtx *ctx);

/**
 * Drives a context one step and delivers the raw answer, status line and
 * header included.
 *
 * @param ctx the context.
 * @param destination room for @p capacity bytes.
 * @param capacity the most bytes to deliver.
 * @return bytes delivered.
 *         - 0: all that came has been delivered, or the answer is complete and
 *           @p capacity is 0.
 *         - -2: nothing yet, call again. While the answer comes in, also for a
 *           @p capacity of 0 or less and a NULL @p destination. A step that
 *           failed gives -2 first and -1 on the next call.
 *         - -1: failed, or @p ctx is NULL. After the answer is complete, also
 *           for a negative @p capacity, and for a NULL @p destination while
 *           bytes are left. On a stopped context, where the bytes that would
 *           have been delivered are lost.
 */
QN_API int32_t fnQNStack_Http_ReadRecvData(QNHttpCtx *ctx, void *destination, int32_t capacity);

/**
 * Sends one chunk of the request: at most 2048 bytes, one call to the
 * platform. Called by fnQNStack_Http_Run(). Before the last chunk of a request
 * that takes several, it sets TCP_NODELAY on the socket, where it stays on.
 *
 * @param ctx the context, connected and composed.
 * @return 0 everything has been sent; -2 a chunk went out or must be tried
 *         again; -1 failed, with nothing lost from the request buffer, or
 *         @p ctx is NULL. When another context has taken the slot since,
 *         nothing is sent on it, and the state of a context that is under way is
 *         then #QN_HTTP_SEND_FAILED.
 */
QN_API int32_t fnQNStack_Http_SendQuest(QNHttpCtx *ctx);

/**
 * Receives on a tunnel until some data has come. Called by
 * fnQNStack_Http_Run().
 *
 * @warning It returns only when data arrives or more than 20480 bytes wait to
 * be read. When the proxy closes the tunnel or the connection fails, it never
 * returns. Callers rely on the wait, so it stays. Once the request is sent,
 * use fnQNStack_Http_Socket_Recvata(), which gives 0 at the end.
 *
 * @param ctx the tunnel's context.
 * @return -2; -1 for NULL. Bytes that the heap has no room for are lost, and
 *         the call returns for them too.
 */
QN_API int32_t fnQNStack_Http_RecvConnectData(QNHttpCtx *ctx);

/**
 * Sends the application's own bytes over a context's socket; for tunnels.
 *
 * @param ctx the context.
 * @param bytes what to send.
 * @param count number of bytes.
 * @return as fnQN_Stack_SendData(); -1 for a NULL context, and as
 *         fnQNStack_Http_SendQuest() when another context has taken the slot
 *         since.
 */
QN_API int32_t fnQNStack_Http_Socket_SendData(QNHttpCtx *ctx, const void *bytes, int32_t count);

/**
 * Receives bytes from a context's socket as they come; for tunnels.
 *
 * @param ctx the context.
 * @param destination room for @p capacity bytes.
 * @param capacity the most bytes to receive.
 * @return as fnQN_Stack_RecvData(), so 0 when the peer has closed, or for a
 *         @p capacity of 0; -1 for a NULL context.
 */
QN_API int32_t fnQNStack_Http_Socket_Recvata(QNHttpCtx *ctx, void *destination, int32_t capacity);

/**
 * Consumes as much of an answer's header as has been received and fills the
 * answer fields. Called by fnQNStack_Http_ReadRecvContext().
 *
 * - Lines end at CR LF alone.
 * - A value is the second word of its line, and words behind it do not count. So
 *   a header field without a blank behind its colon has no value, or the word
 *   that follows. "Content-Length:", "Set-Cookie:" and "Set-Cookie2:" are read
 *   from the colon on and need no blank.
 * - A "Set-Cookie:" without '=' stores nothing, nor does one whose name or value
 *   holds a control character (a byte below 0x20, or 0x7F).
 * - "Location:" and "Content-Location:" replace `url` whatever the status; the
 *   last one counts. If the heap refuses the copy, `url` is NULL.
 * - A second "Content-Type:" line frees the first value and replaces it.
 *
 * @param ctx the context.
 * @return 0 the header has been consumed, now or before; -2 it is not complete
 *         yet, or the heap refused a line, which the next call then takes; -1 for
 *         NULL.
 */
QN_API int32_t fnQNStack_Http_ParseAnswer(QNHttpCtx *ctx);

/**
 * Drives a context one step and delivers the answer's body; the way to read
 * an answer.
 *
 * Redirects:
 *
 * - Any status from 300 to 399 is followed as a GET, up to ten times. Without a
 *   location the same URL is asked again.
 * - A location is taken as a whole URL. One that begins with '/' or '?' has no
 *   host, and its request ends in #QN_HTTP_RESOLVE_FAILED unless a proxy makes
 *   sense of it. Any other relative one names a host: "next/page" asks the host
 *   "next".
 * - `retValue` and `retCtxLen` stay until the next answer has its own.
 * - A tunnel's answer that redirects with a location goes on as a GET too;
 *   without one it fails, and the context is of no more use.
 * - A finished context that follows one closes the slot with its old number, so
 *   read it to its end before the next is opened.
 *
 * A header line of more than 20480 bytes stalls its answer until the context
 * gives up.
 *
 * @param ctx the context.
 * @param destination room for @p capacity bytes.
 * @param capacity the most bytes to deliver.
 * @return bytes delivered.
 *         - 0: the end of what came; or the answer is complete and @p capacity
 *           is 0. It is no proof that the body is whole: look at `retCtxLen`.
 *         - -2: nothing yet, or redirected; call again. While the answer comes
 *           in, also for a @p capacity of 0 or less and a NULL @p destination.
 *         - -1: failed, or @p ctx is NULL. After the answer is complete or
 *           stopped, also for a negative @p capacity, and for a NULL
 *           @p destination while bytes are left; the context is as it was. When
 *           the heap refuses a header line of a complete answer; the next call
 *           takes it. On the eleventh redirect, whose own body the next call
 *           delivers.
 */
QN_API int32_t fnQNStack_Http_ReadRecvContext(QNHttpCtx *ctx, void *destination, int32_t capacity);

/** @} */

QN_END_DECLS

#endif
