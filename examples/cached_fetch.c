/* Fetches a URL, or takes it from the cache below the folder ROOT where it is
 * still fresh, and writes the body to a file:
 *
 *     cached_fetch ROOT URL FILE
 */
#include <stdio.h>
#include <string.h>

#include "qnstack/qnstack.h"

/* [cached_fetch] */
/* The body as it was kept; NULL if there is none that is fresh. */
static QNMemBuffer *from_cache(const char *url) {
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(url);
  QNMemBuffer *body = NULL;
  char *bytes;
  if (entry == NULL || entry->size <= 0) return NULL;
  bytes = fnQN_Malloc_Local((uint32_t)entry->size, __FILE__, __LINE__);
  if (bytes == NULL) return NULL;
  if (fnQNStack_Cache_LoadFileToBuffer(entry->file_no, bytes, entry->size) == 0) {
    body = fnQN_MemBuffer_New((uint32_t)entry->size);
    fnQN_MemBuffer_Write(body, bytes, entry->size);
  }
  fnQN_Free(&bytes);
  return body;
}

/* The whole raw answer; NULL if none came. */
static QNMemBuffer *from_network(const char *url) {
  char piece[4096];
  int32_t got;
  QNMemBuffer *answer = fnQN_MemBuffer_New(sizeof piece);
  QNHttpCtx *ctx = fnQNStack_Http_Open_Get(url);
  while ((got = fnQNStack_Http_ReadRecvData(ctx, piece, sizeof piece)) > 0 || got == -2) {
    fnQN_MemBuffer_Write(answer, piece, got);
  }
  fnQNStack_Http_FreeCtx(ctx);
  if (got == 0) return answer;
  fnQN_MemBuffer_Free(answer);
  return NULL;
}

/* Takes the header off an answer: the status, 0 if there is none. */
static int take_header(QNMemBuffer *answer, int *length) {
  char *line;
  int status = 0;
  fnQNStack_Cache_InitTime();
  while ((line = fnQN_MemBuffer_ReadBySubstr(answer, "\r\n")) != NULL && *line != '\0') {
    const char *blank = strchr(line, ' ');
    if (fnQNStack_StrCMPI(line, "HTTP/") == 0) status = fnQN_ATOI(blank);
    if (fnQNStack_StrCMPI(line, "Content-Length:") == 0) *length = fnQN_ATOI(strchr(line, ':') + 1);
    fnQNStack_Cache_ParseCacheTime(line);
    fnQN_Free(&line);
  }
  fnQN_Free(&line);
  return status;
}

/* A body from the cache or the network; unread bytes of the buffer, which the
 * caller frees. NULL for anything but a whole answer with status 200. */
static QNMemBuffer *fetch(const char *url) {
  QNMemBuffer *answer = from_cache(url);
  int length = -1;
  if (answer != NULL) return answer;
  answer = from_network(url);
  if (take_header(answer, &length) == 200) {
    const int32_t unread = (int32_t)(answer->length - answer->cursor);
    const int32_t expires = fnQNStack_Cache_getExpired();
    if (length < 0 || length == unread) {
      if (length >= 0 && expires != -1) {
        fnQNStack_Cache_Save(url, NULL, answer->data + answer->cursor, unread, expires, 200);
      }
      return answer;
    }
  }
  fnQN_MemBuffer_Free(answer);
  return NULL;
}
/* [cached_fetch] */

/* [start_cache] */
static void start_cache(const char *root) {
  fnQNFS_SetFullPath(root); /* of the POSIX port; "/wap/ca/" is made below it */
  fnQNStack_Cache_Init();
}
/* [start_cache] */

/* 0, or -1. */
static int save(const char *name, const QNMemBuffer *body) {
  const size_t unread = body->length - body->cursor;
  FILE *file = fopen(name, "wb");
  int failed;
  if (file == NULL) return -1;
  failed = fwrite(body->data + body->cursor, 1, unread, file) != unread;
  return fclose(file) != 0 || failed ? -1 : 0;
}

int main(int argc, char **argv) {
  QNMemBuffer *body;
  int failed;
  if (argc != 4) {
    fprintf(stderr, "usage: cached_fetch ROOT URL FILE\n");
    return 2;
  }
  start_cache(argv[1]);
  fnQNStack_Http_InitStack();
  body = fetch(argv[2]);
  failed = body == NULL || save(argv[3], body) != 0;
  if (failed) fprintf(stderr, "cached_fetch: failed\n");
  fnQN_MemBuffer_Free(body);
  fnQNStack_Http_CloseStack();
  fnQNStack_Cache_Free();
  return failed;
}
