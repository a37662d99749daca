/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_wap.h
 * @brief The WAP stack by version: one set of names, served by the HTTP client
 *        when the version is 2 (WAP 2.0, HTTP through a gateway) and refused
 *        otherwise.
 *
 * The version is 1 until fnQNStack_Wap_InitStack() sets it, so everything here
 * refuses until the facade has been started with version 2. Starting it with
 * another version switches it off, closing and freeing included, while the
 * HTTP stack stays started. One thread only.
 */
#ifndef QNSTACK_QN_STACK_WAP_H
#define QNSTACK_QN_STACK_WAP_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_stack_http.h"

QN_BEGIN_DECLS

/**
 * @addtogroup http
 * @{
 */

/**
 * Chooses the version and starts the stack that serves it.
 *
 * @param version 2; any other value is stored all the same and switches the
 *        facade off.
 * @return as fnQNStack_Http_InitStack(); -1 for any version but 2.
 */
QN_API int32_t fnQNStack_Wap_InitStack(int32_t version);

/**
 * Closes the stack; the version stays.
 *
 * @return as fnQNStack_Http_CloseStack(); -1 when refused.
 */
QN_API int32_t fnQNStack_Wap_CloseStack(void);

/**
 * Sets or removes the gateway; does nothing when refused.
 *
 * @param host as for fnQNStack_Http_SetProxy().
 * @param port as for fnQNStack_Http_SetProxy().
 */
QN_API void fnQNStack_Wap_SetProxy(const char *host, int32_t port);

/**
 * Opens a GET request.
 *
 * @param url as for fnQNStack_Http_Open_Get().
 * @return as fnQNStack_Http_Open_Get(); NULL when refused.
 */
QN_API QNHttpCtx *fnQNStack_Wap_Open_Get(const char *url);

/**
 * Opens a HEAD request.
 *
 * @param url as for fnQNStack_Http_Open_Head().
 * @return as fnQNStack_Http_Open_Head(); NULL when refused.
 */
QN_API QNHttpCtx *fnQNStack_Wap_Open_Head(const char *url);

/**
 * Opens a POST request.
 *
 * @param url as for fnQNStack_Http_Open_Post().
 * @param body as for fnQNStack_Http_Open_Post(); stays the caller's.
 * @param length as for fnQNStack_Http_Open_Post(), in bytes.
 * @param type as for fnQNStack_Http_Open_Post().
 * @return as fnQNStack_Http_Open_Post(); NULL when refused.
 */
QN_API QNHttpCtx *fnQNStack_Wap_Open_Post(const char *url, const void *body, int32_t length,
                                          const char *type);

/**
 * Opens a PUT request.
 *
 * @param url as for fnQNStack_Http_Open_Put().
 * @param body as for fnQNStack_Http_Open_Put(); stays the caller's.
 * @param length as for fnQNStack_Http_Open_Put(), in bytes.
 * @param type as for fnQNStack_Http_Open_Put().
 * @return as fnQNStack_Http_Open_Put(); NULL when refused.
 */
QN_API QNHttpCtx *fnQNStack_Wap_Open_Put(const char *url, const void *body, int32_t length,
                                         const char *type);

/**
 * Opens a tunnel through the gateway.
 *
 * @param host as for fnQNStack_Http_Open_Connect().
 * @param port as for fnQNStack_Http_Open_Connect().
 * @return as fnQNStack_Http_Open_Connect(); NULL when refused.
 */
QN_API QNHttpCtx *fnQNStack_Wap_Open_Connect(const char *host, int32_t port);

/**
 * Drives a context and delivers the raw answer.
 *
 * @param ctx as for fnQNStack_Http_ReadRecvData().
 * @param destination as for fnQNStack_Http_ReadRecvData().
 * @param capacity as for fnQNStack_Http_ReadRecvData(), in bytes.
 * @return as fnQNStack_Http_ReadRecvData(); -1 when refused.
 */
QN_API int32_t fnQNStack_Wap_ReadRecvData(QNHttpCtx *ctx, void *destination, int32_t capacity);

/**
 * Drives a context and delivers the answer's body.
 *
 * @param ctx as for fnQNStack_Http_ReadRecvContext().
 * @param destination as for fnQNStack_Http_ReadRecvContext().
 * @param capacity as for fnQNStack_Http_ReadRecvContext(), in bytes.
 * @return as fnQNStack_Http_ReadRecvContext(); -1 when refused.
 */
QN_API int32_t fnQNStack_Wap_ReadRecvContext(QNHttpCtx *ctx, void *destination, int32_t capacity);

/**
 * Stops a context; does nothing when refused.
 *
 * @param ctx as for fnQNStack_Http_Stop().
 */
QN_API void fnQNStack_Wap_Stop(QNHttpCtx *ctx);

/**
 * The state of a context.
 *
 * @param ctx as for fnQNStack_Http_getState().
 * @return as fnQNStack_Http_getState(); -1 when refused.
 */
QN_API int32_t fnQNStack_Wap_getState(const QNHttpCtx *ctx);

/**
 * Releases a context; when refused the context is not freed.
 *
 * @param ctx as for fnQNStack_Http_FreeCtx().
 */
QN_API void fnQNStack_Wap_FreeCtx(QNHttpCtx *ctx);

/**
 * Sends bytes over a context's socket.
 *
 * @param ctx as for fnQNStack_Http_Socket_SendData().
 * @param bytes as for fnQNStack_Http_Socket_SendData().
 * @param count as for fnQNStack_Http_Socket_SendData(), in bytes.
 * @return as fnQNStack_Http_Socket_SendData(); -1 when refused.
 */
QN_API int32_t fnQNStack_Wap_Socket_SendData(QNHttpCtx *ctx, const void *bytes, int32_t count);

/**
 * Receives bytes from a context's socket.
 *
 * @param ctx as for fnQNStack_Http_Socket_Recvata().
 * @param destination as for fnQNStack_Http_Socket_Recvata().
 * @param capacity as for fnQNStack_Http_Socket_Recvata(), in bytes.
 * @return as fnQNStack_Http_Socket_Recvata(); -1 when refused.
 */
QN_API int32_t fnQNStack_Wap_Socket_Recvata(QNHttpCtx *ctx, void *destination, int32_t capacity);

/** @} */

QN_END_DECLS

#endif
