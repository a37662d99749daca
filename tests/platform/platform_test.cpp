// SPDX-License-Identifier: MIT
// Guards the platform that the porter's page shows: whole uses of the library over
// connections that the test hands in, on files in memory and a clock that it sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "device.h"
#include "qnstack/qnstack.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr int32_t kNotYet = -2;
constexpr char kFile[] = "/operator.ini";

// What a peer does: each step answers one call, and none left means that it closed.
struct Peer {
  std::deque<int32_t> connects;                     // results before it connects
  std::deque<int32_t> sends;                        // the same, or the most bytes to take
  std::deque<std::optional<std::string>> receives;  // pieces; nothing for "not yet"
  uint32_t address = 0;
  uint16_t port = 0;
  std::string sent;
  int closed = 0;
};
Peer peer;

int32_t Next(std::deque<int32_t> *results, int32_t otherwise) {
  if (results->empty()) return otherwise;
  const int32_t result = results->front();
  results->pop_front();
  return result;
}

int32_t ConnectPeer(int32_t /*connection*/, uint32_t address, uint16_t port) {
  peer.address = address;
  peer.port = port;
  return Next(&peer.connects, 1);
}

int32_t SendToPeer(int32_t /*connection*/, const void *bytes, int32_t count) {
  if (bytes == nullptr) {
    ++peer.closed;
    return 0;
  }
  const int32_t taken = std::min(Next(&peer.sends, count), count);
  if (taken > 0) peer.sent.append(static_cast<const char *>(bytes), static_cast<size_t>(taken));
  return taken;
}

int32_t ReceiveFromPeer(int32_t /*connection*/, void *destination, int32_t capacity) {
  if (peer.receives.empty()) return 0;
  const std::optional<std::string> piece = peer.receives.front();
  peer.receives.pop_front();
  if (!piece) return kNotYet;
  EXPECT_LE(piece->size(), static_cast<size_t>(capacity));
  return static_cast<int32_t>(piece->copy(static_cast<char *>(destination), piece->size()));
}

class DevicePlatform : public testing::Test {
 protected:
  DevicePlatform() {
    peer = Peer{};
    const DeviceNetwork network = {ConnectPeer, SendToPeer, ReceiveFromPeer};
    device_set_network(&network);
    fnQNStack_Http_InitStack();
  }
  ~DevicePlatform() override {
    fnQNStack_Http_CloseStack();
    fnQNFS_DelAllFiles("/");
  }

  // Fetches to the end; the last result, 0 for a whole body.
  static int32_t Fetch(QNHttpCtx *ctx, std::string *body) {
    char piece[64];
    for (int calls = 0; calls < 100; ++calls) {
      const int32_t got = fnQNStack_Http_ReadRecvContext(ctx, piece, sizeof piece);
      if (got == 0 || got == -1) return got;
      if (got > 0) body->append(piece, static_cast<size_t>(got));
    }
    ADD_FAILURE() << "no end after 100 calls";
    return -1;
  }

  // A setting as it stands in the file; nothing if there is none.
  static std::optional<std::string> Setting(const char *key) {
    QNList settings;
    fnQNFS_INI_List_Init(kFile, &settings);
    const auto *entry = static_cast<const QNFSIniEntry *>(
        fnQNList_GetData(fnQNList_CompareFind(&settings, &key, fnQNFS_INI_Compare)));
    std::optional<std::string> value;
    if (entry != nullptr) value = entry->value;
    fnQNList_Clear(&settings, fnQNFS_INI_FreeNode);
    return value;
  }

  static int32_t Keep(const char *key, const char *value) {
    QNList settings;
    fnQNFS_INI_List_Init(kFile, &settings);
    const int32_t kept = fnQNFS_INI_Write(kFile, &settings, key, value);
    fnQNList_Clear(&settings, fnQNFS_INI_FreeNode);
    return kept;
  }
};

TEST_F(DevicePlatform, AGetGoesOverTheConnectionThatIsHandedIn) {
  peer.receives = {"HTTP/1.0 200 OK\r\nContent-Length: 7\r\n\r\nmessage"};
  QNHttpCtx *ctx = fnQNStack_Http_Open_Get("http://10.1.2.3:8080/m");
  std::string body;
  EXPECT_EQ(Fetch(ctx, &body), 0);
  EXPECT_EQ(body, "message");
  EXPECT_EQ(ctx->retValue, 200);
  EXPECT_THAT(peer.sent, StartsWith("GET /m HTTP/1."));
  EXPECT_THAT(peer.sent, EndsWith("\r\n\r\n"));
  unsigned char address[4];
  std::memcpy(address, &peer.address, sizeof address);
  EXPECT_THAT(address, ElementsAre(10, 1, 2, 3));
  EXPECT_EQ(peer.port, 8080);
  fnQNStack_Http_FreeCtx(ctx);
  EXPECT_EQ(peer.closed, 1);
}

TEST_F(DevicePlatform, WhatIsNotYetIsAskedForAgain) {
  peer.connects = {kNotYet, kNotYet};
  peer.sends = {kNotYet, 5, kNotYet};
  peer.receives = {std::nullopt, "HTTP/1.0 200 OK\r\nContent-Le",
                   std::nullopt, "ngth: 7\r\n\r\nmess",
                   std::nullopt, "age"};
  QNHttpCtx *ctx = fnQNStack_Http_Open_Get("http://10.1.2.3/m");
  std::string body;
  EXPECT_EQ(Fetch(ctx, &body), 0);
  EXPECT_EQ(body, "message");
  EXPECT_THAT(peer.sent, StartsWith("GET /m HTTP/1."));
  EXPECT_THAT(peer.sent, EndsWith("\r\n\r\n"));
  fnQNStack_Http_FreeCtx(ctx);
}

TEST_F(DevicePlatform, AConnectionThatFailsEndsTheGet) {
  peer.connects = {-1};
  QNHttpCtx *ctx = fnQNStack_Http_Open_Get("http://10.1.2.3/m");
  std::string body;
  EXPECT_EQ(Fetch(ctx, &body), -1);
  EXPECT_EQ(fnQNStack_Http_getState(ctx), -12);
  EXPECT_EQ(peer.sent, "");
  fnQNStack_Http_FreeCtx(ctx);
}

TEST_F(DevicePlatform, AHostIsItsDottedAddress) {
  const int32_t slot = fnQN_Stack_CreateSocket();
  EXPECT_EQ(fnQN_Stack_GetHostByName(slot, "192.168.0.254", 80), 1);
  for (const char *name : {"", "gateway.example", "10.1.2", "10.1.2.", "10.1.2.3.", "10.1.2.256"}) {
    EXPECT_EQ(fnQN_Stack_GetHostByName(slot, name, 80), -1) << name;
  }
  fnQN_Stack_CloseSocket(slot);
}

TEST_F(DevicePlatform, SettingsComeBackAsTheyWereKept) {
  EXPECT_EQ(Keep("proxy-host", "10.0.0.172"), 1);
  EXPECT_EQ(Keep("proxy-port", "80"), 1);
  EXPECT_EQ(Keep("proxy-host", "10.0.0.200"), 1);
  EXPECT_EQ(Setting("proxy-host"), "10.0.0.200");
  EXPECT_EQ(Setting("proxy-port"), "80");
  EXPECT_EQ(Setting("nothing"), std::nullopt);
  EXPECT_EQ(fnQNFS_isFileExisted("/operator.ini.bak"), 0);
}

TEST_F(DevicePlatform, AFullMemoryLeavesOldContent) {
  ASSERT_EQ(Keep("key", "old"), 1);
  for (int i = 0; i < 15; ++i) {
    const std::string name = "/" + std::to_string(i);
    ASSERT_EQ(fnQNFS_WriteToFile("x", 1, name.c_str()), 1);
  }
  EXPECT_EQ(fnQNFS_WriteToFile("x", 1, "/more"), -1);
  EXPECT_EQ(Setting("key"), "old");
}

TEST_F(DevicePlatform, OnlyFilesOfTheDirectoryAreDeleted) {
  for (const char *name : {"/wap/ca/1", "/wap/ca/2", "/wap/ca/deep/3", "/wap/cab", "/wap/4"}) {
    ASSERT_EQ(fnQNFS_WriteToFile("x", 1, name), 1);
  }
  EXPECT_EQ(fnQNFS_DelAllFiles("/wap/ca/"), 1);
  EXPECT_EQ(fnQNFS_isFileExisted("/wap/ca/1"), 0);
  EXPECT_EQ(fnQNFS_isFileExisted("/wap/ca/2"), 0);
  EXPECT_EQ(fnQNFS_isFileExisted("/wap/ca/deep/3"), 1);
  EXPECT_EQ(fnQNFS_isFileExisted("/wap/cab"), 1);
  EXPECT_EQ(fnQNFS_isFileExisted("/wap/4"), 1);
  fnQNFS_DelAllFiles("/wap/ca/deep");
  EXPECT_EQ(fnQNFS_isFileExisted("/wap/ca/deep/3"), 0);
  fnQNFS_DelAllFiles("/wap");
}

TEST_F(DevicePlatform, NowIsWhatTheApplicationSays) {
  QNTime now = {110, 5, 15, 12, 30, 45, 0};
  device_set_clock(&now, 7);
  EXPECT_EQ(GETTIMESECONDS(), static_cast<int32_t>(JULIANTOSECONDS(&now)));
  unsigned char first[8];
  unsigned char second[8];
  GETRAND(first, sizeof first);
  GETRAND(second, sizeof second);
  EXPECT_EQ(std::memcmp(first, second, sizeof first), 0);
  device_set_clock(&now, 8);
  GETRAND(second, sizeof second);
  EXPECT_NE(std::memcmp(first, second, sizeof first), 0);
}

}  // namespace
