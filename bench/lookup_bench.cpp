// SPDX-License-Identifier: MIT
// The table of request headers and the cookie jar beside hash tables.
#include <glib.h>

#include <cstdio>
#include <memory>
#include <string>
#include <unordered_map>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "qnstack/qn_stack_http_head.h"
#include "qnstack/qn_stack_membuffer.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

constexpr const char *kNames[] = {"Accept",     "Cache-Control", "Accept-Charset",
                                  "User-Agent", "Profile",       "Accept-Language"};
constexpr int kCookies = 50;

using Map = std::unordered_map<std::string, std::string>;
using HashTable = std::shared_ptr<GHashTable>;

std::string CookieName(int i) { return "cookie-" + std::to_string(i); }

HashTable NewHashTable() {
  return {g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free), g_hash_table_unref};
}

void PutHeader(GHashTable *table, const char *name, const char *value) {
  g_hash_table_replace(table, g_strdup(name), g_strdup(value));
}

// The six headers that each request looks at or might.
void HeaderReads() {
  Operation("look-ups", "header table of 6: each name read")
      .Prepared(qnbench::kOurs,
                [] {
                  fnQNStack_Http_Head_SetDefault();
                  return [] {
                    for (const char *name : kNames) Keep(fnQNStack_Http_Head_Read(Opaque(name)));
                  };
                })
      .Prepared("GHashTable",
                [] {
                  HashTable table = NewHashTable();
                  for (const char *name : kNames) PutHeader(table.get(), name, "value");
                  return [table] {
                    for (const char *name : kNames) {
                      Keep(g_hash_table_lookup(table.get(), Opaque(name)));
                    }
                  };
                })
      .Prepared("std::unordered_map", [] {
        Map map;
        for (const char *name : kNames) map[name] = "value";
        return [map] {
          for (const char *name : kNames) Keep(map.find(Opaque(name))->second.c_str());
        };
      });
}

void HeaderWrites() {
  Operation("look-ups", "header table of 6: a value replaced")
      .Prepared(qnbench::kOurs,
                [] {
                  fnQNStack_Http_Head_SetDefault();
                  return [] {
                    fnQNStack_Http_Head_Write(Opaque("User-Agent"), Opaque("Handset/1.0"));
                  };
                })
      .Prepared("GHashTable",
                [] {
                  HashTable table = NewHashTable();
                  for (const char *name : kNames) PutHeader(table.get(), name, "value");
                  return [table] {
                    PutHeader(table.get(), Opaque("User-Agent"), Opaque("Handset/1.0"));
                  };
                })
      .Prepared("std::unordered_map", [] {
        Map map;
        for (const char *name : kNames) map[name] = "value";
        return [map]() mutable { map[Opaque("User-Agent")] = Opaque("Handset/1.0"); };
      });
}

void FillJar() {
  fnQNStack_Http_Cookie_FreeAll();
  for (int i = 0; i < kCookies; ++i) {
    fnQNStack_Http_Cookie_Set(CookieName(i).c_str(), "0123456789abcdef", "mmsc.example", "/");
  }
}

HashTable FilledTable() {
  HashTable table = NewHashTable();
  for (int i = 0; i < kCookies; ++i) {
    PutHeader(table.get(), CookieName(i).c_str(), "0123456789abcdef");
  }
  return table;
}

void Cookies() {
  Operation("look-ups", "full jar: a new cookie, the oldest dropped")
      .Prepared(qnbench::kOurs,
                [] {
                  FillJar();
                  return [] {
                    fnQNStack_Http_Cookie_Set(Opaque("session"), Opaque("0123456789abcdef"),
                                              Opaque("mmsc.example"), Opaque("/"));
                  };
                })
      .Prepared("GHashTable and a record", [] {
        return [table = FilledTable()] {
          // Four texts are copied, and what stood under the name is dropped.
          PutHeader(table.get(), Opaque("session"), Opaque("0123456789abcdef"));
          char *domain = g_strdup(Opaque("mmsc.example"));
          char *path = g_strdup(Opaque("/"));
          Keep(domain);
          Keep(path);
          g_free(domain);
          g_free(path);
        };
      });
  Operation("look-ups", "full jar: a value replaced by name")
      .Prepared(qnbench::kOurs,
                [] {
                  FillJar();
                  return [] {
                    fnQNStack_Http_Cookie_Set(Opaque("cookie-20"), Opaque("fedcba9876543210"),
                                              Opaque("other.example"), Opaque("/other"));
                  };
                })
      .Prepared("GHashTable", [] {
        return [table = FilledTable()] {
          PutHeader(table.get(), Opaque("cookie-20"), Opaque("fedcba9876543210"));
        };
      });
}

void CookieLines() {
  Operation("look-ups", "full jar: the cookie lines of a request")
      .Prepared(qnbench::kOurs,
                [] {
                  FillJar();
                  return [] {
                    QNMemBuffer *buffer = fnQN_MemBuffer_New(512);
                    fnQNStack_Http_Cookie_AddToHead(buffer, Opaque("mmsc.example"));
                    Keep(buffer->data);
                    fnQN_MemBuffer_Free(buffer);
                  };
                })
      .Prepared("GHashTable and GString", [] {
        HashTable by_host = NewHashTable();
        PutHeader(by_host.get(), "mmsc.example", "cookie-49=0123456789abcdef");
        return [by_host] {
          GString *string = g_string_sized_new(512);
          const auto *cookie =
              static_cast<const char *>(g_hash_table_lookup(by_host.get(), Opaque("mmsc.example")));
          g_string_append_printf(string, "Cookie: %s\r\nCookie2: \"1\"\r\n", cookie);
          Keep(string->str);
          g_string_free(string, TRUE);
        };
      });
}

}  // namespace

void qnbench::RegisterLookups() {
  HeaderReads();
  HeaderWrites();
  Cookies();
  CookieLines();
}
