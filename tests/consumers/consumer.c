/* SPDX-License-Identifier: MIT */
/* A C99 program of a user: it opens a request, composes it, and looks at what
 * would go out. Exit code 0 when all is as promised. */
#include <string.h>

#include "qnstack/qnstack.h"

int main(void) {
  static const char start[] = "GET /message?id=1 HTTP/1.0\r\nHost: mmsc.example:8080\r\n";
  QNList list;
  char *word = fnQNStack_StrDup("word");
  int wrong = 0;

  fnQNList_Init(&list);
  wrong |= fnQNList_AddTail(&list, word) == NULL;
  wrong |= fnQNList_GetCount(&list) != 1;
  fnQNList_Clear(&list, fnQN_Free);

  wrong |= fnQNStack_Http_InitStack() != 0;
  {
    QNHttpCtx *ctx = fnQNStack_Http_Open_Get("http://mmsc.example:8080/message?id=1");
    wrong |= ctx == NULL || fnQNStack_Http_PrepareQuest(ctx) != 0;
    wrong |= ctx == NULL || strncmp(ctx->sendBuf->data, start, sizeof start - 1) != 0;
    fnQNStack_Http_FreeCtx(ctx);
  }
  wrong |= fnQNStack_Http_CloseStack() != 0;
  wrong |= socket_list[1].fd != 0 || gCtx != NULL;
  return wrong;
}
