/* SPDX-License-Identifier: MIT */
/* Decodes a message's subject, given as an IANA MIBenum and bytes in
 * hexadecimal, and prints it as UTF-8:
 *
 *     subject 1015 fffe48006900
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qnstack/qnstack.h"

/* Turns pairs of hexadecimal digits into bytes; their number, or -1. */
static int32_t read_bytes(const char *text, unsigned char *bytes) {
  const size_t length = strlen(text);
  size_t i;
  if (length % 2 != 0) return -1;
  for (i = 0; i < length; i += 2) {
    char pair[3] = {0, 0, 0};
    char *end;
    memcpy(pair, text + i, 2);
    bytes[i / 2] = (unsigned char)strtoul(pair, &end, 16);
    if (*end != '\0') return -1;
  }
  return (int32_t)(length / 2);
}

/* [print_subject] */
/* Prints a text as UTF-8; 0, or -1 if it cannot be decoded. */
static int print_subject(uint32_t charset, const void *text, int32_t length) {
  char *subject = fnCharSet_DecodeString2Local(charset, text, &length);
  if (subject == NULL) return -1;
  printf("%s\n", subject);
  fnCharSet_CharSetFreeStringBuf(subject);
  return 0;
}
/* [print_subject] */

int main(int argc, char **argv) {
  unsigned char *bytes;
  int failed;
  if (argc != 3) {
    fprintf(stderr, "usage: subject MIBENUM BYTES\n");
    return 2;
  }
  bytes = fnQN_Malloc_Local((uint32_t)strlen(argv[2]) + 1, __FILE__, __LINE__);
  if (bytes == NULL) return 1;
  failed =
      print_subject((uint32_t)strtoul(argv[1], NULL, 10), bytes, read_bytes(argv[2], bytes)) != 0;
  if (failed) fprintf(stderr, "subject: cannot be decoded\n");
  fnQN_Free(&bytes);
  return failed;
}
