/* SPDX-License-Identifier: MIT */
/* A record file of one's own: notices of messages that wait at the centre, in
 * the file notices in the folder ROOT, which must exist. Adds one, prints all,
 * or takes the first one out:
 *
 *     records ROOT add SIZE SENDER SUBJECT
 *     records ROOT list
 *     records ROOT take
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qnstack/qnstack.h"

static const char file[] = "/notices";

/* [records] */
typedef struct Notice {
  int32_t size;
  char *sender;
  char *subject;
} Notice;

/* A release function gets the address of a variable that holds the element. */
static void free_notice(void *address) {
  Notice *notice;
  memcpy(&notice, address, sizeof notice);
  if (notice == NULL) return;
  fnQN_Free(&notice->sender);
  fnQN_Free(&notice->subject);
  fnQN_Free(&notice);
}

static Notice *new_notice(int32_t size, char *sender, char *subject) {
  Notice *notice = fnQN_Malloc_Local(sizeof *notice, __FILE__, __LINE__);
  if (notice == NULL) {
    fnQN_Free(&sender);
    fnQN_Free(&subject);
    return NULL;
  }
  notice->size = size;
  notice->sender = sender;
  notice->subject = subject;
  return notice;
}

/* The text "\n" alone would be a line tag; senders and subjects have none. */
static void write_text(QNFSBuffer *record, const char *text) {
  fnQNFS_Buffer_WriteString(record, text, text == NULL ? 0 : (int32_t)strlen(text));
}

/* One element as fields, with a line tag at its end. */
static void write_notice(QNFSBuffer *record, void *data) {
  const Notice *notice = data;
  fnQNFS_Buffer_WriteInteger(record, notice->size);
  write_text(record, notice->sender);
  write_text(record, notice->subject);
  fnQNFS_Buffer_WriteLineTag(record);
}

/* The same fields in the same order. */
static void *read_notice(QNFSBuffer *record) {
  int32_t status;
  const int32_t size = fnQNFS_Buffer_ReadInteger(record, &status);
  char *sender = fnQNFS_Buffer_ReadString(record);
  char *subject = fnQNFS_Buffer_ReadString(record);
  Notice *notice = new_notice(size, sender, subject);
  if (status == 0 && sender != NULL && subject != NULL) return notice;
  free_notice(&notice);
  return NULL;
}
/* [records] */

/* An append writes the list's first element alone. */
static int add(const char *size, const char *sender, const char *subject) {
  QNList list;
  Notice *notice = new_notice(fnQN_ATOI(size), fnQNStack_StrDup(sender), fnQNStack_StrDup(subject));
  int32_t added = 0;
  fnQNList_Init(&list);
  if (fnQNList_AddTail(&list, notice) != NULL) {
    added = fnQNFS_Append_List_To_File(file, &list, write_notice);
  } else {
    free_notice(&notice);
  }
  fnQNList_Clear(&list, free_notice);
  return added == 1 ? 0 : 1;
}

static void print(const Notice *notice) {
  printf("%d bytes from %s: %s\n", (int)notice->size, notice->sender, notice->subject);
}

static void print_all(const QNList *list) {
  const QNListNode *node;
  for (node = fnQNList_BeginIter(list); node != NULL; node = fnQNList_NextIter(node)) {
    print(fnQNList_GetData(node));
  }
}

/* Prints the first notice and saves the others; 0, or 1. */
static int take(QNList *list) {
  Notice *notice = fnQNList_RemoveFront(list);
  int32_t saved;
  if (notice == NULL) return 1;
  saved = fnQNFS_Save_List_To_File(file, list, write_notice);
  if (saved == 1) print(notice);
  free_notice(&notice);
  return saved == 1 ? 0 : 1;
}

int main(int argc, char **argv) {
  QNList list;
  int failed = 0;
  if (argc < 3) {
    fprintf(stderr, "usage: records ROOT add SIZE SENDER SUBJECT | list | take\n");
    return 2;
  }
  fnQNFS_SetFullPath(argv[1]);
  fnQNList_Init(&list);
  /* Loading comes first: it puts back what a save that was cut off left. */
  fnQNFS_Load_File_To_List(file, &list, read_notice);
  if (strcmp(argv[2], "add") == 0 && argc == 6) {
    failed = add(argv[3], argv[4], argv[5]);
  } else if (strcmp(argv[2], "take") == 0) {
    failed = take(&list);
  } else {
    print_all(&list);
  }
  fnQNList_Clear(&list, free_notice);
  return failed;
}
