// SPDX-License-Identifier: MIT
// Guards the layout of the public records on platforms of 64 and 32 bits:
// applications and language bindings are compiled against these offsets. Every
// check is made by the compiler.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "qnstack/qnstack.h"

namespace {

constexpr std::size_t Width(std::size_t of_64_bits, std::size_t of_32_bits) {
  return sizeof(void *) == 8 ? of_64_bits : of_32_bits;
}

}  // namespace

#define CHECK_FIELD(record, field, type, wide, narrow)                              \
  static_assert(std::is_same_v<decltype(record::field), type>, #record "." #field); \
  static_assert(offsetof(record, field) == Width(wide, narrow), #record "." #field)

CHECK_FIELD(QNHttpCtx, url, char *, 0, 0);
CHECK_FIELD(QNHttpCtx, hostname, char *, 8, 4);
CHECK_FIELD(QNHttpCtx, port, int32_t, 16, 8);
CHECK_FIELD(QNHttpCtx, path, char *, 24, 12);
CHECK_FIELD(QNHttpCtx, socket, int32_t, 32, 16);
CHECK_FIELD(QNHttpCtx, state, int32_t, 36, 20);
CHECK_FIELD(QNHttpCtx, method, char *, 40, 24);
CHECK_FIELD(QNHttpCtx, sendBuf, QNMemBuffer *, 48, 28);
CHECK_FIELD(QNHttpCtx, contentType, char *, 56, 32);
CHECK_FIELD(QNHttpCtx, content, const void *, 64, 36);
CHECK_FIELD(QNHttpCtx, contentLen, int32_t, 72, 40);
CHECK_FIELD(QNHttpCtx, recvBuf, QNMemBuffer *, 80, 44);
CHECK_FIELD(QNHttpCtx, headParsed, int32_t, 88, 48);
CHECK_FIELD(QNHttpCtx, retCtxType, char *, 96, 52);
CHECK_FIELD(QNHttpCtx, retEncoding, int32_t, 104, 56);
CHECK_FIELD(QNHttpCtx, retCtxLen, int32_t, 108, 60);
CHECK_FIELD(QNHttpCtx, retValue, int32_t, 112, 64);
CHECK_FIELD(QNHttpCtx, redirectCount, int32_t, 116, 68);
CHECK_FIELD(QNHttpCtx, tryCount, int32_t, 120, 72);
static_assert(sizeof(QNHttpCtx) == Width(128, 76));

CHECK_FIELD(QNMemBuffer, data, char *, 0, 0);
CHECK_FIELD(QNMemBuffer, capacity, uint32_t, 8, 4);
CHECK_FIELD(QNMemBuffer, length, uint32_t, 12, 8);
CHECK_FIELD(QNMemBuffer, cursor, uint32_t, 16, 12);
CHECK_FIELD(QNMemBuffer, total, uint32_t, 20, 16);
static_assert(sizeof(QNMemBuffer) == Width(24, 20));

CHECK_FIELD(QNList, head, QNListNode *, 0, 0);
CHECK_FIELD(QNList, tail, QNListNode *, 8, 4);
CHECK_FIELD(QNList, count, int32_t, 16, 8);
CHECK_FIELD(QNList, reserved, uint32_t, 20, 12);
static_assert(sizeof(QNList) == Width(24, 16));

CHECK_FIELD(QNListNode, data, void *, 0, 0);
CHECK_FIELD(QNListNode, prev, QNListNode *, 8, 4);
CHECK_FIELD(QNListNode, next, QNListNode *, 16, 8);
static_assert(sizeof(QNListNode) == Width(24, 12));

CHECK_FIELD(QNCacheEntry, url, char *, 0, 0);
CHECK_FIELD(QNCacheEntry, label, char *, 8, 4);
CHECK_FIELD(QNCacheEntry, file_no, int32_t, 16, 8);
CHECK_FIELD(QNCacheEntry, size, int32_t, 20, 12);
CHECK_FIELD(QNCacheEntry, expires, int32_t, 24, 16);
CHECK_FIELD(QNCacheEntry, stored_at, int32_t, 28, 20);
CHECK_FIELD(QNCacheEntry, tag, int32_t, 32, 24);
static_assert(sizeof(QNCacheEntry) == Width(40, 28));

CHECK_FIELD(QNSocketSlot, fd, int32_t, 0, 0);
CHECK_FIELD(QNSocketSlot, addr, uint32_t, 4, 4);
CHECK_FIELD(QNSocketSlot, port, uint16_t, 8, 8);
CHECK_FIELD(QNSocketSlot, connState, int32_t, 12, 12);
static_assert(sizeof(QNSocketSlot) == Width(16, 16));

static_assert(std::is_same_v<decltype(socket_list), QNSocketSlot[20]>);

CHECK_FIELD(QNTime, year, uint32_t, 0, 0);
CHECK_FIELD(QNTime, month, uint32_t, 4, 4);
CHECK_FIELD(QNTime, day, uint32_t, 8, 8);
CHECK_FIELD(QNTime, hour, uint32_t, 12, 12);
CHECK_FIELD(QNTime, minute, uint32_t, 16, 16);
CHECK_FIELD(QNTime, second, uint32_t, 20, 20);
CHECK_FIELD(QNTime, extra, uint32_t, 24, 24);
static_assert(sizeof(QNTime) == Width(28, 28));
static_assert(std::is_same_v<decltype(start_time), uint32_t>);
static_assert(std::is_same_v<decltype(end_time), uint32_t>);

CHECK_FIELD(QNFSCallBack, owner, intptr_t[4], 0, 0);
CHECK_FIELD(QNFSCallBack, function, QNFSCallBackFunction, 32, 16);
CHECK_FIELD(QNFSCallBack, context, intptr_t, 40, 20);
static_assert(sizeof(QNFSCallBack) == Width(48, 24));
