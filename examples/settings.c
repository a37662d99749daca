/* SPDX-License-Identifier: MIT */
/* Keeps an operator's settings in the file OPERATOR.ini in the folder ROOT,
 * which must exist, or starts the stack by them and prints the headers that it
 * would send:
 *
 *     settings ROOT OPERATOR KEY VALUE
 *     settings ROOT OPERATOR
 */
#include <stdio.h>

#include "qnstack/qnstack.h"

/* [settings] */
static const char *const sent_headers[] = {"Accept", "User-Agent", "Profile", "Accept-Language"};

/* A setting's value, still the list's; NULL if it is not set. */
static const char *setting(const QNList *settings, const char *key) {
  const QNFSIniEntry *entry =
      fnQNList_GetData(fnQNList_CompareFind(settings, &key, fnQNFS_INI_Compare));
  return entry == NULL ? NULL : entry->value;
}

/* Starts the stack by the settings in a file below the root. 0, or -1. */
static int start_stack(const char *file) {
  QNList settings;
  size_t i;
  const char *proxy;
  if (fnQNStack_Http_InitStack() != 0) return -1;
  fnQNFS_INI_List_Init(file, &settings);
  proxy = setting(&settings, "proxy-host");
  fnQNStack_Http_SetProxy(proxy, fnQN_ATOI(setting(&settings, "proxy-port")));
  for (i = 0; i < sizeof sent_headers / sizeof sent_headers[0]; ++i) {
    const char *value = setting(&settings, sent_headers[i]);
    if (value != NULL) fnQNStack_Http_Head_Write(sent_headers[i], value);
  }
  fnQNList_Clear(&settings, fnQNFS_INI_FreeNode);
  return 0;
}

/* Keeps a setting; 1, or 0 if it could not be written. */
static int32_t keep_setting(const char *file, const char *key, const char *value) {
  QNList settings;
  int32_t kept;
  fnQNFS_INI_List_Init(file, &settings);
  kept = fnQNFS_INI_Write(file, &settings, key, value);
  fnQNList_Clear(&settings, fnQNFS_INI_FreeNode);
  return kept;
}
/* [settings] */

static int show_headers(const char *file) {
  size_t i;
  if (start_stack(file) != 0) return 1;
  for (i = 0; i < sizeof sent_headers / sizeof sent_headers[0]; ++i) {
    printf("%s: %s\n", sent_headers[i], fnQNStack_Http_Head_Read(sent_headers[i]));
  }
  printf("proxy: %s\n", fnQNStack_Have_Proxy() == 1 ? "yes" : "no");
  fnQNStack_Http_CloseStack();
  fnQNStack_Http_SetProxy(NULL, 0);
  return 0;
}

int main(int argc, char **argv) {
  char file[64];
  if (argc != 3 && argc != 5) {
    fprintf(stderr, "usage: settings ROOT OPERATOR [KEY VALUE]\n");
    return 2;
  }
  /* Names of files begin with '/' and stay below the root. */
  if (snprintf(file, sizeof file, "/%s.ini", argv[2]) >= (int)sizeof file) return 2;
  fnQNFS_SetFullPath(argv[1]);
  if (argc == 3) return show_headers(file);
  if (keep_setting(file, argv[3], argv[4]) == 1) return 0;
  fprintf(stderr, "settings: cannot write\n");
  return 1;
}
