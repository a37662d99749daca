/* SPDX-License-Identifier: MIT */
/* Fetches a URL and writes the body to a file; the trace lines of the client go
 * to standard output:
 *
 *     fetch URL FILE [PROXY-HOST PROXY-PORT]
 */
#include <stdio.h>
#include <stdlib.h>

#include "qnstack/qnstack.h"

/* Reads the whole body into the file; 0 when it is complete. */
static int save_body(QNHttpCtx *ctx, FILE *file) {
  char piece[4096];
  int32_t got;
  while ((got = fnQNStack_Http_ReadRecvContext(ctx, piece, sizeof piece)) != 0) {
    if (got == -2) continue; /* not finished: call again */
    if (got < 0 || fwrite(piece, 1, (size_t)got, file) != (size_t)got) return -1;
  }
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 3 && argc != 5) {
    fprintf(stderr, "usage: fetch URL FILE [PROXY-HOST PROXY-PORT]\n");
    return 2;
  }
  FILE *file = fopen(argv[2], "wb");
  if (file == NULL) {
    perror(argv[2]);
    return 1;
  }
  fnQNStack_Http_InitStack();
  if (argc == 5) fnQNStack_Http_SetProxy(argv[3], fnQN_ATOI(argv[4]));

  QNHttpCtx *ctx = fnQNStack_Http_Open_Get(argv[1]);
  const int failed = save_body(ctx, file);
  if (failed) {
    fprintf(stderr, "failed in state %d\n", (int)fnQNStack_Http_getState(ctx));
  } else {
    fprintf(stderr, "status %d, %s\n", (int)ctx->retValue,
            ctx->retCtxType != NULL ? ctx->retCtxType : "no type");
  }
  fnQNStack_Http_FreeCtx(ctx);
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(NULL, 0);
  return fclose(file) != 0 || failed ? 1 : 0;
}
