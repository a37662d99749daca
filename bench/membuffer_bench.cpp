// SPDX-License-Identifier: MIT
// The memory buffer beside GLib's growing array and string.
#include <glib.h>

#include <cstring>
#include <memory>
#include <string>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

const std::string kPiece(2048, 'x');
const std::string kSmall(16, 's');
const std::string kLines = [] {
  std::string text;
  for (int i = 0; i < 20; ++i) text += "Header-Name: some value of a header line\r\n";
  return text;
}();

const guint8 *Octets(const std::string &text) {
  return reinterpret_cast<const guint8 *>(Opaque(text.data()));
}

// `count` writes of a piece into a new buffer.
void Appending(const char *name, const std::string &piece, int count, uint32_t capacity) {
  const auto size = static_cast<int32_t>(piece.size());
  Operation row("buffer", name);
  row.By(qnbench::kOurs, [&piece, size, count, capacity] {
    QNMemBuffer *buffer = fnQN_MemBuffer_New(capacity);
    for (int i = 0; i < count; ++i) fnQN_MemBuffer_Write(buffer, Opaque(piece.data()), size);
    Keep(buffer->data);
    fnQN_MemBuffer_Free(buffer);
  });
  row.By("GByteArray", [&piece, size, count, capacity] {
    GByteArray *array = g_byte_array_sized_new(capacity);
    for (int i = 0; i < count; ++i) {
      g_byte_array_append(array, Octets(piece), static_cast<guint>(size));
    }
    Keep(array->data);
    g_byte_array_unref(array);
  });
  row.By("GString", [&piece, size, count, capacity] {
    GString *string = g_string_sized_new(capacity);
    for (int i = 0; i < count; ++i) g_string_append_len(string, Opaque(piece.data()), size);
    Keep(string->str);
    g_string_free(string, TRUE);
  });
}

// What a transfer does: 2048 bytes in, the same out.
void Streaming() {
  Operation("buffer", "2048 bytes written, read off")
      .Prepared(qnbench::kOurs,
                [] {
                  const std::shared_ptr<QNMemBuffer> buffer(fnQN_MemBuffer_New(4096),
                                                            fnQN_MemBuffer_Free);
                  return [buffer, out = std::string(2048, '\0')]() mutable {
                    fnQN_MemBuffer_Write(buffer.get(), Opaque(kPiece.data()), 2048);
                    Keep(fnQN_MemBuffer_Read(buffer.get(), out.data(), 2048));
                  };
                })
      .Prepared("GByteArray", [] {
        const std::shared_ptr<GByteArray> array(g_byte_array_sized_new(4096), g_byte_array_unref);
        return [array, out = std::string(2048, '\0')]() mutable {
          g_byte_array_append(array.get(), Octets(kPiece), 2048);
          std::memcpy(out.data(), array->data, 2048);
          Keep(g_byte_array_remove_range(array.get(), 0, 2048));
        };
      });
}

void Items() {
  Operation("buffer", "20 lines written, taken off by their ends")
      .By(qnbench::kOurs,
          [] {
            QNMemBuffer *buffer = fnQN_MemBuffer_New(1024);
            fnQN_MemBuffer_Write(buffer, Opaque(kLines.data()),
                                 static_cast<int32_t>(kLines.size()));
            while (char *line = fnQN_MemBuffer_ReadBySubstr(buffer, "\r\n")) {
              Keep(line);
              fnQN_Free(&line);
            }
            fnQN_MemBuffer_Free(buffer);
          })
      .By("GString, strstr and g_strndup", [] {
        GString *string =
            g_string_new_len(Opaque(kLines.data()), static_cast<gssize>(kLines.size()));
        const char *rest = string->str;
        while (const char *end = std::strstr(rest, "\r\n")) {
          char *line = g_strndup(rest, static_cast<gsize>(end - rest));
          Keep(line);
          g_free(line);
          rest = end + 2;
        }
        g_string_free(string, TRUE);
      });
  Operation("buffer", "10 header lines by name and value")
      .By(qnbench::kOurs,
          [] {
            QNMemBuffer *buffer = fnQN_MemBuffer_New(1024);
            for (int i = 0; i < 10; ++i) {
              fnQN_MemBuffer_WriteItem(buffer, Opaque("Accept-Language: "), Opaque("en, de"));
            }
            Keep(buffer->data);
            fnQN_MemBuffer_Free(buffer);
          })
      .By("GString", [] {
        GString *string = g_string_sized_new(1024);
        for (int i = 0; i < 10; ++i) {
          g_string_append(string, Opaque("Accept-Language: "));
          g_string_append(string, Opaque("en, de"));
          g_string_append(string, "\r\n");
        }
        Keep(string->str);
        g_string_free(string, TRUE);
      });
}

void Printing() {
  Operation("buffer", "a line printed")
      .By(qnbench::kOurs,
          [] {
            QNMemBuffer *buffer = fnQN_MemBuffer_New(512);
            Keep(fnQN_MemBuffer_Printf(buffer, "%s: %s:%d\r\n", Opaque("Host"),
                                       Opaque("mmsc.example"), 8080));
            fnQN_MemBuffer_Free(buffer);
          })
      .By("GString", [] {
        GString *string = g_string_sized_new(512);
        g_string_append_printf(string, "%s: %s:%d\r\n", Opaque("Host"), Opaque("mmsc.example"),
                               8080);
        Keep(string->str);
        g_string_free(string, TRUE);
      });
  Operation("buffer", "made with 4096 bytes, emptied, freed")
      .By(qnbench::kOurs,
          [] {
            QNMemBuffer *buffer = fnQN_MemBuffer_New(4096);
            Keep(fnQN_MemBufer_ClearContent(buffer));
            fnQN_MemBuffer_Free(buffer);
          })
      .By("GByteArray", [] {
        GByteArray *array = g_byte_array_sized_new(4096);
        Keep(g_byte_array_set_size(array, 0));
        g_byte_array_unref(array);
      });
}

}  // namespace

void qnbench::RegisterBuffers() {
  Appending("16 appends of 2048 bytes, no capacity", kPiece, 16, 0);
  Appending("16 appends of 2048 bytes, capacity 32768", kPiece, 16, 32768);
  Appending("64 appends of 16 bytes, no capacity", kSmall, 64, 0);
  Appending("64 appends of 16 bytes, capacity 1024", kSmall, 64, 1024);
  Streaming();
  Items();
  Printing();
}
