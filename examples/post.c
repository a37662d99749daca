/* Posts a text as a multimedia message's content would be posted, and prints
 * the status of the answer on standard error:
 *
 *     post URL TEXT [MEDIA-TYPE]
 */
#include <stdio.h>
#include <string.h>

#include "qnstack/qnstack.h"

int main(int argc, char **argv) {
  if (argc != 3 && argc != 4) {
    fprintf(stderr, "usage: post URL TEXT [MEDIA-TYPE]\n");
    return 2;
  }
  fnQNStack_Http_InitStack();

  /* The text is not copied yet: it stays valid until the answer comes. */
  const char *text = argv[2];
  const char *type = argc == 4 ? argv[3] : NULL;
  QNHttpCtx *ctx = fnQNStack_Http_Open_Post(argv[1], text, (int32_t)strlen(text), type);

  char piece[4096];
  int32_t got;
  do {
    got = fnQNStack_Http_ReadRecvContext(ctx, piece, sizeof piece);
  } while (got == -2 || got > 0);

  const int accepted = got == 0 && ctx->retValue >= 200 && ctx->retValue <= 299;
  fprintf(stderr, "status %d\n", got == 0 ? (int)ctx->retValue : 0);
  fnQNStack_Http_FreeCtx(ctx);
  fnQNStack_Http_CloseStack();
  return accepted ? 0 : 1;
}
