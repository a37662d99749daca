/* SPDX-License-Identifier: MIT */
/* Posts a text as a multimedia message's content would be posted, and prints
 * the status of the answer on standard error:
 *
 *     post URL TEXT [MEDIA-TYPE]
 */
#include <stdio.h>
#include <string.h>

#include "qnstack/qnstack.h"

/* [send_message] */
/* Posts a message; the answer's status, or -1 if there was none. */
static int32_t send_message(const char *url, const void *message, int32_t length,
                            const char *type) {
  char piece[4096];
  int32_t got, status = -1;
  QNHttpCtx *ctx = fnQNStack_Http_Open_Post(url, message, length, type);
  do {
    got = fnQNStack_Http_ReadRecvContext(ctx, piece, sizeof piece);
  } while (got == -2 || got > 0);
  if (got == 0 && ctx->retValue != 0) status = ctx->retValue;
  fnQNStack_Http_FreeCtx(ctx);
  return status;
}
/* [send_message] */

int main(int argc, char **argv) {
  int32_t status;
  if (argc != 3 && argc != 4) {
    fprintf(stderr, "usage: post URL TEXT [MEDIA-TYPE]\n");
    return 2;
  }
  fnQNStack_Http_InitStack();
  status = send_message(argv[1], argv[2], (int32_t)strlen(argv[2]),
                        argc == 4 ? argv[3] : "application/vnd.wap.mms-message");
  fprintf(stderr, "status %d\n", (int)status);
  fnQNStack_Http_CloseStack();
  return status >= 200 && status <= 299 ? 0 : 1;
}
