/* SPDX-License-Identifier: MIT */
/* A C99 program of a user that keeps files: settings are written below the given
 * folder and read back into another list. Exit code 0 when they are the same. */
#include <string.h>

#include "qnstack/qnstack.h"

int main(int argc, char **argv) {
  static const char file[] = "/settings.ini";
  QNList written;
  QNList read;
  char value[16] = "";
  int wrong = 0;

  if (argc != 2) return 2;
  fnQNFS_SetFullPath(argv[1]);
  fnQNFS_INI_List_Init(file, &written);
  wrong |= fnQNFS_INI_Write(file, &written, "proxy", "127.0.0.1:8080") != 1;
  fnQNList_Clear(&written, fnQNFS_INI_FreeNode);

  fnQNFS_INI_List_Init(file, &read);
  wrong |= fnQNFS_INI_Read(file, &read, "proxy", value) != 1;
  wrong |= strcmp(value, "127.0.0.1:8080") != 0;
  fnQNList_Clear(&read, fnQNFS_INI_FreeNode);
  return wrong;
}
