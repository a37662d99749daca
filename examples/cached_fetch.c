/* SPDX-License-Identifier: MIT */
/* Fetches a URL, or takes it from the cache below the folder ROOT where it is
 * still fresh, and writes the body to a file:
 *
 *     cached_fetch ROOT URL FILE [PROXY PORT]
 */
#define _DEFAULT_SOURCE   /* timegm */
#define _XOPEN_SOURCE 700 /* strptime */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "qnstack/qnstack.h"

/* [head] */
/* What the header of an answer says, as far as it matters here. */
struct head {
  int status;     /* 0: none */
  long length;    /* of the body; -1: not known */
  int forbidden;  /* not to be kept */
  time_t asked;   /* when the request began */
  time_t date;    /* of the answer: "Date:", or when it was asked for */
  time_t expires; /* "Expires:"; 0: long ago, or no such line */
  long max_age;   /* "max-age="; -1: none */
  long age;       /* "Age:" */
};

/* The value of a header line of that name; NULL for any other line. */
static const char *value_of(const char *line, const char *name) {
  if (fnQNStack_StrCMPI(line, name) != 0) return NULL;
  line += strlen(name);
  return line + strspn(line, " \t");
}

/* The smallest lifetime that was said. One that is no number is none. */
static long smaller(long lifetime, const char *value) {
  const long said = strtol(value, NULL, 10);
  if (said < 0) return 0;
  return lifetime < 0 || said < lifetime ? said : lifetime;
}

/* A date as servers write it. */
static time_t date_of(const char *value, time_t otherwise) {
  struct tm fields;
  memset(&fields, 0, sizeof fields);
  if (strptime(value, "%a, %d %b %Y %H:%M:%S GMT", &fields) == NULL) return otherwise;
  return timegm(&fields);
}

static void take_line(const char *line, struct head *head) {
  const char *value;
  if (value_of(line, "HTTP/") != NULL) head->status = fnQN_ATOI(strchr(line, ' '));
  if ((value = value_of(line, "Content-Length:")) != NULL) head->length = atol(value);
  if (value_of(line, "Transfer-Encoding:") != NULL) head->status = 0; /* not read here */
  if ((value = value_of(line, "Date:")) != NULL) head->date = date_of(value, head->date);
  if ((value = value_of(line, "Expires:")) != NULL) head->expires = date_of(value, 0);
  if ((value = value_of(line, "Age:")) != NULL) head->age = atol(value);
  if (value_of(line, "Vary:") != NULL) head->forbidden = 1; /* who knows with what */
  if (value_of(line, "Cache-Control:") != NULL || value_of(line, "Pragma:") != NULL) {
    const char *max_age = stristr(line, "max-age=");
    if (max_age != NULL) head->max_age = smaller(head->max_age, max_age + strlen("max-age="));
    if (stristr(line, "no-store") != NULL || stristr(line, "no-cache") != NULL) {
      head->forbidden = 1;
    }
  }
}

/* Takes the header off an answer. */
static struct head take_header(QNMemBuffer *answer, time_t asked) {
  struct head head = {0, -1, 0, asked, asked, 0, -1, 0};
  char *line;
  while ((line = fnQN_MemBuffer_ReadBySubstr(answer, "\r\n")) != NULL && *line != '\0') {
    take_line(line, &head);
    fnQN_Free(&line);
  }
  fnQN_Free(&line);
  return head;
}

/* How old the answer is by now: by its date, or by its "Age:" and the time that
 * it was on its way, whichever is more. */
static long long age_of(const struct head *head) {
  const long long by_date = time(NULL) - head->date;
  const long long by_age = head->age + (time(NULL) - head->asked);
  const long long age = by_date > by_age ? by_date : by_age;
  return age > 0 ? age : 0;
}

/* For how many seconds from now the answer is fresh; 0 if it is not to be kept. */
static long lifetime(const struct head *head) {
  const long most = 365L * 86400;
  long long left = 0;
  if (head->forbidden) return 0;
  if (head->max_age >= 0) {
    left = head->max_age - age_of(head);
  } else if (head->expires > head->date) {
    left = head->expires - head->date - age_of(head);
  }
  if (left < 0) return 0;
  return left < most ? (long)left : most;
}
/* [head] */

/* [cached_fetch] */
/* Room for a label: from when and until when an answer is fresh, by the system's
 * clock, and for whom. */
enum { LABEL = 2000, LONGEST_URL = 6000 };

/* Whom an answer is for: gateway and handset, whose name is the program's own. */
static void write_identity(char *identity, const char *proxy, int32_t port) {
  const char *agent = fnQNStack_Http_Head_Read("User-Agent");
  snprintf(identity, LABEL, "%s:%d %s", proxy == NULL ? "" : proxy, (int)port, agent);
}

/* Whether an entry's label says that it is fresh, and for that one. */
static int is_fresh(const QNCacheEntry *entry, const char *identity) {
  const long long now = time(NULL);
  char *rest = entry->label;
  const long long came = strtoll(rest, &rest, 10);
  const long long until = strtoll(rest, &rest, 10);
  return came <= now && now < until && *rest == ' ' && strcmp(rest + 1, identity) == 0;
}

/* The body as it was kept; NULL if there is none that is fresh. */
static QNMemBuffer *from_cache(const char *url, const char *identity) {
  const QNCacheEntry *entry = fnQNStack_Cache_FindbyUrl_NoExpired(url);
  QNMemBuffer *body = NULL;
  char name[50];
  char *bytes;
  if (entry == NULL || entry->size <= 0 || !is_fresh(entry, identity)) return NULL;
  snprintf(name, sizeof name, "/wap/ca/%d", (int)entry->file_no);
  if (fnQNFS_getFileSize(name) != entry->size) return NULL;
  bytes = fnQN_Malloc_Local((uint32_t)entry->size, __FILE__, __LINE__);
  if (bytes == NULL) return NULL;
  if (fnQNStack_Cache_LoadFileToBuffer(entry->file_no, bytes, entry->size) == 0) {
    body = fnQN_MemBuffer_New((uint32_t)entry->size);
    fnQN_MemBuffer_Write(body, bytes, entry->size);
  }
  fnQN_Free(&bytes);
  return body;
}

/* Keeps a body for so many seconds. */
static void keep(const char *url, const char *identity, const char *body, int32_t length,
                 long seconds) {
  const long two_months = 62L * 86400; /* more than the library's clock ever leaps */
  const long long now = time(NULL);
  QNCacheEntry *old = fnQNStack_Cache_FindbyUrl(url);
  char label[2 * LABEL];
  snprintf(label, sizeof label, "%lld %lld %s", now, now + seconds, identity);
  if (strlen(url) > LONGEST_URL) return;                 /* the index would not hold it */
  if (old != NULL) old->expires = fnQNFS_getLocalTime(); /* the save throws it out */
  fnQNStack_Cache_Save(url, label, body, length,
                       fnQNFS_getLocalTime() + (int32_t)(seconds + two_months), 0);
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

/* A body from the cache or the network; unread bytes of the buffer, which the
 * caller frees. NULL for anything but a whole answer with status 200. */
static QNMemBuffer *fetch(const char *url, const char *identity) {
  QNMemBuffer *answer = from_cache(url, identity);
  const time_t asked = time(NULL);
  struct head head;
  int32_t unread;
  if (answer != NULL) return answer;
  answer = from_network(url);
  if (answer == NULL) return NULL;
  head = take_header(answer, asked);
  unread = (int32_t)(answer->length - answer->cursor);
  if (head.status == 200 && (head.length < 0 || head.length == unread)) {
    const long seconds = head.length < 0 ? 0 : lifetime(&head); /* else it may be cut */
    if (seconds > 0) keep(url, identity, answer->data + answer->cursor, unread, seconds);
    return answer;
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
  char identity[LABEL];
  const char *proxy = argc == 6 ? argv[4] : NULL;
  const int32_t port = argc == 6 ? fnQN_ATOI(argv[5]) : 0;
  QNMemBuffer *body;
  int failed;
  if (argc != 4 && argc != 6) {
    fprintf(stderr, "usage: cached_fetch ROOT URL FILE [PROXY PORT]\n");
    return 2;
  }
  start_cache(argv[1]);
  fnQNStack_Http_InitStack();
  fnQNStack_Http_SetProxy(proxy, port);
  write_identity(identity, proxy, port);
  body = fetch(argv[2], identity);
  failed = body == NULL || save(argv[3], body) != 0;
  if (failed) fprintf(stderr, "cached_fetch: failed\n");
  fnQN_MemBuffer_Free(body);
  fnQNStack_Http_CloseStack();
  fnQNStack_Cache_Free();
  return failed;
}
