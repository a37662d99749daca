// SPDX-License-Identifier: MIT
// The WAP stack by version: every function forwards to the HTTP client of the
// same name while the version is 2 and refuses otherwise. It keeps the version.
#include "qnstack/qn_stack_wap.h"

#include "qn_stack_wap_internal.h"

namespace {

constexpr int32_t kVersionServed = 2;

bool IsServed() { return qn::stack_version == kVersionServed; }

}  // namespace

int32_t qn::stack_version = 1;

int32_t fnQNStack_Wap_InitStack(int32_t version) {
  qn::stack_version = version;
  return IsServed() ? fnQNStack_Http_InitStack() : -1;
}

int32_t fnQNStack_Wap_CloseStack(void) { return IsServed() ? fnQNStack_Http_CloseStack() : -1; }

void fnQNStack_Wap_SetProxy(const char *host, int32_t port) {
  if (IsServed()) fnQNStack_Http_SetProxy(host, port);
}

QNHttpCtx *fnQNStack_Wap_Open_Get(const char *url) {
  return IsServed() ? fnQNStack_Http_Open_Get(url) : nullptr;
}

QNHttpCtx *fnQNStack_Wap_Open_Head(const char *url) {
  return IsServed() ? fnQNStack_Http_Open_Head(url) : nullptr;
}

QNHttpCtx *fnQNStack_Wap_Open_Post(const char *url, const void *body, int32_t length,
                                   const char *type) {
  return IsServed() ? fnQNStack_Http_Open_Post(url, body, length, type) : nullptr;
}

QNHttpCtx *fnQNStack_Wap_Open_Put(const char *url, const void *body, int32_t length,
                                  const char *type) {
  return IsServed() ? fnQNStack_Http_Open_Put(url, body, length, type) : nullptr;
}

QNHttpCtx *fnQNStack_Wap_Open_Connect(const char *host, int32_t port) {
  return IsServed() ? fnQNStack_Http_Open_Connect(host, port) : nullptr;
}

int32_t fnQNStack_Wap_ReadRecvData(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return IsServed() ? fnQNStack_Http_ReadRecvData(ctx, destination, capacity) : -1;
}

int32_t fnQNStack_Wap_ReadRecvContext(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return IsServed() ? fnQNStack_Http_ReadRecvContext(ctx, destination, capacity) : -1;
}

void fnQNStack_Wap_Stop(QNHttpCtx *ctx) {
  if (IsServed()) fnQNStack_Http_Stop(ctx);
}

int32_t fnQNStack_Wap_getState(const QNHttpCtx *ctx) {
  return IsServed() ? fnQNStack_Http_getState(ctx) : -1;
}

void fnQNStack_Wap_FreeCtx(QNHttpCtx *ctx) {
  if (IsServed()) fnQNStack_Http_FreeCtx(ctx);
}

int32_t fnQNStack_Wap_Socket_SendData(QNHttpCtx *ctx, const void *bytes, int32_t count) {
  return IsServed() ? fnQNStack_Http_Socket_SendData(ctx, bytes, count) : -1;
}

int32_t fnQNStack_Wap_Socket_Recvata(QNHttpCtx *ctx, void *destination, int32_t capacity) {
  return IsServed() ? fnQNStack_Http_Socket_Recvata(ctx, destination, capacity) : -1;
}
