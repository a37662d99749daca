/* SPDX-License-Identifier: MIT */
/* Fetches several URLs at once from one poll loop, and writes each body to
 * standard error when it is complete:
 *
 *     poll_loop URL...
 */
#define _POSIX_C_SOURCE 200809L
#include <poll.h>
#include <stdio.h>

#include "qnstack/qnstack.h"

enum { MOST = 16, SILENCE_MS = 30000, MOST_BYTES = 1 << 20 };

static int has_unsent_bytes(const QNHttpCtx *ctx) {
  return ctx->sendBuf->cursor < ctx->sendBuf->length;
}

/* Goes on by one step that does not wait, except for the first, which resolves
 * and connects: -2 more to come, 0 the answer is in, -1 failed. */
static int32_t step(QNHttpCtx *ctx) {
  char piece[2048];
  int32_t got;
  if (ctx->state == QN_HTTP_NEW || has_unsent_bytes(ctx)) return fnQNStack_Http_Run(ctx);
  got = fnQNStack_Http_Socket_Recvata(ctx, piece, sizeof piece);
  if (got > 0 && ctx->recvBuf->total < MOST_BYTES) {
    fnQN_MemBuffer_Write(ctx->recvBuf, piece, got);
    return -2;
  }
  fnQNStack_Http_Stop(ctx); /* closes the socket; what has come can be read */
  return got == 0 ? 0 : -1;
}

/* Hands out what has come: 1 done, 0 redirected and to be driven on, -1 failed. */
static int deliver(QNHttpCtx *ctx, FILE *out) {
  char piece[2048];
  int32_t got;
  while ((got = fnQNStack_Http_ReadRecvContext(ctx, piece, sizeof piece)) > 0) {
    fwrite(piece, 1, (size_t)got, out);
  }
  if (got == -2) return 0;
  return got == 0 && ctx->retValue != 0 ? 1 : -1;
}

/* One round for one context; 1 while there is more to do, 0 done, -1 failed. */
static int turn(QNHttpCtx *ctx, FILE *out) {
  const int32_t result = step(ctx);
  if (result == -2) return 1;
  if (result == 0) {
    const int delivered = deliver(ctx, out);
    if (delivered == 0) return turn(ctx, out);
    if (delivered == 1) return 0;
  }
  fprintf(stderr, "failed: %s\n", ctx->url);
  return -1;
}

static void watch(struct pollfd *socket, const QNHttpCtx *ctx) {
  socket->fd = socket_list[ctx->socket].fd;
  socket->events = has_unsent_bytes(ctx) ? POLLOUT : POLLIN;
  socket->revents = 0;
}

int main(int argc, char **argv) {
  QNHttpCtx *contexts[MOST];
  struct pollfd sockets[MOST];
  int i, open = 0, failed = 0;
  fnQNStack_Http_InitStack();
  for (i = 1; i < argc && open < MOST; ++i) {
    QNHttpCtx *ctx = fnQNStack_Http_Open_Get(argv[i]);
    const int result = ctx == NULL ? -1 : turn(ctx, stderr);
    failed |= result == -1;
    if (result == 1) {
      contexts[open++] = ctx;
    } else {
      fnQNStack_Http_FreeCtx(ctx);
    }
  }
  while (open > 0) {
    for (i = 0; i < open; ++i) watch(&sockets[i], contexts[i]);
    if (poll(sockets, (nfds_t)open, SILENCE_MS) <= 0) break; /* nothing moves any more */
    for (i = open - 1; i >= 0; --i) {
      const int result = sockets[i].revents == 0 ? 1 : turn(contexts[i], stderr);
      if (result == 1) continue;
      failed |= result == -1;
      fnQNStack_Http_FreeCtx(contexts[i]);
      contexts[i] = contexts[--open];
      sockets[i] = sockets[open];
    }
  }
  failed |= open > 0;
  while (open > 0) fnQNStack_Http_FreeCtx(contexts[--open]);
  fnQNStack_Http_CloseStack();
  return failed;
}
