// SPDX-License-Identifier: MIT
// Taking the text of an answer and of a URL apart.
#include <cstdlib>
#include <cstring>
#include <string>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_fs_comm_tools.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "qnstack/qn_stack_tools.h"

#include <glib.h>

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

const std::string kAnswer =
    "HTTP/1.1 200 OK\r\n"
    "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
    "Server: mmsc/4.2\r\n"
    "Content-Type: application/vnd.wap.mms-message\r\n"
    "Content-Length: 30720\r\n"
    "Cache-Control: no-cache, no-store\r\n"
    "Set-Cookie: session=0123456789abcdef; path=/\r\n"
    "X-Operator-Id: 26201\r\n"
    "Accept-Ranges: bytes\r\n"
    "Connection: close\r\n"
    "\r\n";

constexpr char kTokens[] = "path=/mms; domain=mmsc.example; max-age=3600; secure; version=1";
constexpr char kEscaped[] = "/mms/message%20with%20a%20name%2Fand%3Fmore+of%20it.bin";

// Lines as copies of their own, which the library's function gives.
void HeaderLines() {
  Operation("header text", "answer header split into 10 lines, copied")
      .By(qnbench::kOurs,
          [] {
            QNMemBuffer *buffer = fnQN_MemBuffer_New(1024);
            fnQN_MemBuffer_Write(buffer, Opaque(kAnswer.data()),
                                 static_cast<int32_t>(kAnswer.size()));
            while (char *line = fnQN_MemBuffer_ReadBySubstr(buffer, "\r\n")) {
              Keep(line);
              fnQN_Free(&line);
            }
            fnQN_MemBuffer_Free(buffer);
          })
      .By("memmem and strndup", [] {
        auto *bytes = static_cast<char *>(std::malloc(1024));
        std::memcpy(bytes, Opaque(kAnswer.data()), kAnswer.size());
        const char *rest = bytes;
        const char *const all = bytes + kAnswer.size();
        while (const void *found = memmem(rest, static_cast<std::size_t>(all - rest), "\r\n", 2)) {
          const auto *end = static_cast<const char *>(found);
          char *line = strndup(rest, static_cast<std::size_t>(end - rest));
          Keep(line);
          std::free(line);
          rest = end + 2;
        }
        std::free(bytes);
      });
}

void Tokens() {
  Operation("header text", "5 tokens, copied")
      .By(qnbench::kOurs,
          [] {
            const char *rest = Opaque(kTokens);
            while (*rest != '\0') {
              uint32_t position = 0;
              char *token = fnQNStack_StrArraySplit(rest, "; ", &position);
              Keep(token);
              fnQN_Free(&token);
              rest = fnQNStack_StrArraySkip(rest + position, "; ");
            }
          })
      .By("strcspn, strspn and strndup", [] {
        const char *rest = Opaque(kTokens);
        while (*rest != '\0') {
          const std::size_t length = std::strcspn(rest, "; ");
          char *token = strndup(rest, length);
          Keep(token);
          std::free(token);
          rest += length;
          rest += std::strspn(rest, "; ");
        }
      });
  Operation("header text", "prefix ignoring case")
      .By(qnbench::kOurs, [] { Keep(fnQNStack_StrCMPI(Opaque(kTokens), Opaque("PATH="))); })
      .By("strncasecmp", [] {
        const char *prefix = Opaque("PATH=");
        Keep(strncasecmp(Opaque(kTokens), prefix, std::strlen(prefix)));
      });
}

// In place for the library, a new text by the peer: both leave one text more.
void Escapes() {
  Operation("header text", "percent escapes decoded in a copy")
      .By(qnbench::kOurs,
          [] {
            char *text = fnQNStack_StrDup(Opaque(kEscaped));
            Keep(fnQNFS_URL_ZM(text));
            fnQN_Free(&text);
          })
      .By("g_uri_unescape_string", [] {
        char *text = g_uri_unescape_string(Opaque(kEscaped), nullptr);
        Keep(text);
        g_free(text);
      });
}

}  // namespace

void qnbench::RegisterHeaderText() {
  HeaderLines();
  Tokens();
  Escapes();
}
