// SPDX-License-Identifier: MIT
// Measures what uses of the library take of heap and stack, on the platform of
// examples/ with a heap that counts. Writes a line for each figure into a file: its
// name, a tab, and bytes.
// usage: small_use FILE
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "counting_heap.h"
#include "device.h"
#include "painted_stack.h"
#include "qnstack/qnstack.h"

namespace {

constexpr int kFullCache = 199;  // entries; one more throws out the oldest

FILE *figures = nullptr;

void Note(const char *name, std::size_t bytes) { std::fprintf(figures, "%s\t%zu\n", name, bytes); }

void Require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "small_use: %s\n", what);
  std::exit(EXIT_FAILURE);
}

constexpr char kRedirect[] =
    "HTTP/1.0 302 Found\r\n"
    "Location: http://10.0.0.173/message\r\n"
    "Set-Cookie: session=0123456789; path=/\r\n"
    "Content-Length: 0\r\n"
    "\r\n";
constexpr char kHeader[] =
    "HTTP/1.0 200 OK\r\n"
    "Date: Mon, 06 Jan 2020 10:00:00 GMT\r\n"
    "Server: origin\r\n"
    "Content-Type: application/octet-stream\r\n"
    "Connection: close\r\n"
    "\r\n";

// The peer: what it has left to send on its connection, and how it answers the next.
const char *text_left = "";
int32_t body_left = 0;
bool redirects = false;
int32_t body_bytes = 0;

int32_t ConnectPeer(int32_t /*connection*/, uint32_t /*address*/, uint16_t /*port*/) {
  text_left = redirects ? kRedirect : kHeader;
  body_left = redirects ? 0 : body_bytes;
  redirects = false;
  return 1;
}

int32_t SendToPeer(int32_t /*connection*/, const void * /*bytes*/, int32_t count) { return count; }

int32_t ReceiveFromPeer(int32_t /*connection*/, void *destination, int32_t capacity) {
  const auto text = std::min(capacity, static_cast<int32_t>(std::strlen(text_left)));
  if (text > 0) {
    std::memcpy(destination, text_left, static_cast<size_t>(text));
    text_left += text;
    return text;
  }
  const int32_t piece = std::min(capacity, body_left);
  std::memset(destination, 'x', static_cast<size_t>(piece));
  body_left -= piece;
  return piece;
}

// Reads to the end and frees the context.
void Exchange(QNHttpCtx *ctx) {
  static char room[4096];
  int32_t result = -2;
  int32_t read = 0;
  while (result != 0 && result != -1) {
    result = fnQNStack_Http_ReadRecvContext(ctx, room, sizeof room);
    if (result > 0) read += result;
  }
  Require(result == 0 && read == body_bytes, "an exchange failed");
  fnQNStack_Http_FreeCtx(ctx);
}

std::size_t PeakOfGet(int32_t bytes) {
  body_bytes = bytes;
  const std::size_t before = small::HeapInUse();
  small::WatchHeapPeak();
  Exchange(fnQNStack_Http_Open_Get("http://10.0.0.172/message"));
  return small::HeapPeak() - before;
}

void MeasureClientHeap() {
  fnQNStack_Http_InitStack();
  const std::size_t started = small::HeapInUse();
  Note("heap: the stack, started", started);
  QNHttpCtx *ctx = fnQNStack_Http_Open_Get("http://10.0.0.172/message");
  Note("heap: an idle context", small::HeapInUse() - started);
  fnQNStack_Http_FreeCtx(ctx);
  Note("heap: an exchange of 1 KiB, at its peak", PeakOfGet(1024));
  Note("heap: an exchange of 1 MiB, at its peak", PeakOfGet(1024 * 1024));
  fnQNStack_Http_CloseStack();
  Require(small::HeapInUse() == 0, "the client keeps memory");
}

void SaveNumbered(int number) {
  const std::string url = "http://10.0.0.172/messages/" + std::to_string(100 + number);
  const int32_t expires = fnQNFS_getLocalTime() + 3600;
  Require(fnQNStack_Cache_Save(url.c_str(), "image/jpeg", "body", 4, expires, 0) == 1,
          "the cache saves nothing");
}

// Once a file has been saved, the library keeps the name that it logged last.
void SaveAnythingOnce() {
  fnQNStack_Cache_Delete_All();
  fnQNStack_Cache_Free();
}

void MeasureCacheHeap() {
  SaveAnythingOnce();
  const std::size_t before = small::HeapInUse();
  fnQNStack_Cache_Init();
  SaveNumbered(0);
  const std::size_t with_one = small::HeapInUse();
  SaveNumbered(1);
  Note("heap: an entry of the cache", small::HeapInUse() - with_one);
  for (int number = 2; number < kFullCache; ++number) SaveNumbered(number);
  const std::size_t full = small::HeapInUse() - before;
  Require(fnQNList_GetCount(fnQNFS_http_cache_list()) == kFullCache, "the cache is not full");
  Note("heap: a full cache of 199 entries", full);
  small::WatchHeapPeak();
  SaveNumbered(kFullCache);
  Note("heap: a save into a full cache, at its peak", small::HeapPeak() - before - full);
  fnQNStack_Cache_Free();
  Require(small::HeapInUse() == before, "the cache keeps memory");
}

// A POST that is redirected, so that every kind of text is composed and read.
void ExchangeWithAll() {
  body_bytes = 4096;
  redirects = true;
  fnQNStack_Http_InitStack();
  fnQNStack_Http_SetProxy("10.0.0.172", 8080);
  Exchange(fnQNStack_Http_Open_Post("http://10.0.0.173:8081/message", "body", 4, nullptr));
  fnQNStack_Http_SetProxy(nullptr, -1);
  fnQNStack_Http_CloseStack();
}

}  // namespace

int main(int argc, char **argv) {
  Require(argc == 2, "it takes a file for its figures");
  figures = std::fopen(argv[1], "w");
  Require(figures != nullptr, "it cannot write its figures");
  // The client's trace goes to standard output.
  Require(std::freopen("/dev/null", "w", stdout) != nullptr, "there is no /dev/null");
  const QNTime now = {120, 0, 6, 10, 0, 0, 0};
  device_set_clock(&now, 1);
  const DeviceNetwork network = {ConnectPeer, SendToPeer, ReceiveFromPeer};
  device_set_network(&network);
  MeasureClientHeap();
  MeasureCacheHeap();
  Note("stack: a whole exchange, measured", small::StackOf(ExchangeWithAll));
  return std::fclose(figures) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
