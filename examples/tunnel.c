/* SPDX-License-Identifier: MIT */
/* Reaches a server through the proxy's CONNECT, sends it one line and writes
 * what it answers to standard error, until it closes:
 *
 *     tunnel PROXY-HOST PROXY-PORT HOST PORT LINE
 */
#include <stdio.h>
#include <string.h>

#include "qnstack/qnstack.h"

/* [open_tunnel] */
/* A tunnel through the proxy that is set; NULL if the proxy refused it or
 * answered with more than `room` bytes of header, which are in `header`. They are
 * taken one by one: what follows them belongs to the tunnel. */
static QNHttpCtx *open_tunnel(const char *host, int32_t port, char *header, size_t room) {
  size_t length = 0;
  int32_t got = 0;
  QNHttpCtx *ctx = fnQNStack_Http_Open_Connect(host, port);
  /* The request is shorter than a chunk: one call sends it. */
  if (fnQNStack_Have_Proxy() == 1 && fnQNStack_Http_Run(ctx) == -2) {
    while (length + 1 < room) {
      got = fnQNStack_Http_Socket_Recvata(ctx, header + length, 1);
      if (got <= 0) break;
      header[++length] = '\0';
      if (strstr(header, "\r\n\r\n") == NULL) continue;
      if (strncmp(header, "HTTP/1.", 7) == 0 && strstr(header, " 200") == header + 8) return ctx;
      break;
    }
  }
  fnQNStack_Http_FreeCtx(ctx);
  return NULL;
}
/* [open_tunnel] */

/* Sends all of it; 0, or -1. */
static int send_all(QNHttpCtx *ctx, const char *bytes, size_t count) {
  while (count > 0) {
    const int32_t sent = fnQNStack_Http_Socket_SendData(ctx, bytes, (int32_t)count);
    if (sent <= 0) return -1;
    bytes += sent;
    count -= (size_t)sent;
  }
  return 0;
}

/* Writes out what comes until the other side closes; 0, or -1. */
static int receive_all(QNHttpCtx *ctx, FILE *out) {
  char piece[1024];
  int32_t got;
  while ((got = fnQNStack_Http_Socket_Recvata(ctx, piece, sizeof piece)) > 0) {
    fwrite(piece, 1, (size_t)got, out);
  }
  return got;
}

int main(int argc, char **argv) {
  char header[4096] = "";
  QNHttpCtx *ctx;
  int failed;
  if (argc != 6) {
    fprintf(stderr, "usage: tunnel PROXY-HOST PROXY-PORT HOST PORT LINE\n");
    return 2;
  }
  fnQNStack_Http_InitStack();
  fnQNStack_Http_SetProxy(argv[1], fnQN_ATOI(argv[2]));
  ctx = open_tunnel(argv[3], fnQN_ATOI(argv[4]), header, sizeof header);
  failed = ctx == NULL;
  if (failed) {
    fprintf(stderr, "no tunnel: %s\n", header);
  } else {
    failed = send_all(ctx, argv[5], strlen(argv[5])) != 0 || send_all(ctx, "\r\n", 2) != 0 ||
             receive_all(ctx, stderr) != 0;
  }
  fnQNStack_Http_FreeCtx(ctx);
  fnQNStack_Http_SetProxy(NULL, 0);
  fnQNStack_Http_CloseStack();
  return failed;
}
