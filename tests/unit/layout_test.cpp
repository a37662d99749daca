// Guards the layout of the public records on 64-bit platforms: applications
// and language bindings are compiled against these offsets. Every check is made
// by the compiler.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "qnstack/qnstack.h"

static_assert(sizeof(void *) == 8, "the offsets below are those of 64-bit platforms");

#define CHECK_FIELD(record, field, type, offset)                                    \
  static_assert(std::is_same_v<decltype(record::field), type>, #record "." #field); \
  static_assert(offsetof(record, field) == (offset), #record "." #field)

CHECK_FIELD(QNHttpCtx, url, char *, 0);
CHECK_FIELD(QNHttpCtx, hostname, char *, 8);
CHECK_FIELD(QNHttpCtx, port, int32_t, 16);
CHECK_FIELD(QNHttpCtx, path, char *, 24);
CHECK_FIELD(QNHttpCtx, socket, int32_t, 32);
CHECK_FIELD(QNHttpCtx, state, int32_t, 36);
CHECK_FIELD(QNHttpCtx, method, char *, 40);
CHECK_FIELD(QNHttpCtx, sendBuf, QNMemBuffer *, 48);
CHECK_FIELD(QNHttpCtx, contentType, char *, 56);
CHECK_FIELD(QNHttpCtx, content, const void *, 64);
CHECK_FIELD(QNHttpCtx, contentLen, int32_t, 72);
CHECK_FIELD(QNHttpCtx, recvBuf, QNMemBuffer *, 80);
CHECK_FIELD(QNHttpCtx, headParsed, int32_t, 88);
CHECK_FIELD(QNHttpCtx, retCtxType, char *, 96);
CHECK_FIELD(QNHttpCtx, retEncoding, int32_t, 104);
CHECK_FIELD(QNHttpCtx, retCtxLen, int32_t, 108);
CHECK_FIELD(QNHttpCtx, retValue, int32_t, 112);
CHECK_FIELD(QNHttpCtx, redirectCount, int32_t, 116);
CHECK_FIELD(QNHttpCtx, tryCount, int32_t, 120);
static_assert(sizeof(QNHttpCtx) == 128);

CHECK_FIELD(QNMemBuffer, data, char *, 0);
CHECK_FIELD(QNMemBuffer, capacity, uint32_t, 8);
CHECK_FIELD(QNMemBuffer, length, uint32_t, 12);
CHECK_FIELD(QNMemBuffer, cursor, uint32_t, 16);
CHECK_FIELD(QNMemBuffer, total, uint32_t, 20);
static_assert(sizeof(QNMemBuffer) == 24);

CHECK_FIELD(QNList, head, QNListNode *, 0);
CHECK_FIELD(QNList, tail, QNListNode *, 8);
CHECK_FIELD(QNList, count, int32_t, 16);
CHECK_FIELD(QNList, reserved, uint32_t, 20);
static_assert(sizeof(QNList) == 24);

CHECK_FIELD(QNListNode, data, void *, 0);
CHECK_FIELD(QNListNode, prev, QNListNode *, 8);
CHECK_FIELD(QNListNode, next, QNListNode *, 16);
static_assert(sizeof(QNListNode) == 24);

CHECK_FIELD(QNCacheEntry, url, char *, 0);
CHECK_FIELD(QNCacheEntry, label, char *, 8);
CHECK_FIELD(QNCacheEntry, file_no, int32_t, 16);
CHECK_FIELD(QNCacheEntry, size, int32_t, 20);
CHECK_FIELD(QNCacheEntry, expires, int32_t, 24);
CHECK_FIELD(QNCacheEntry, stored_at, int32_t, 28);
CHECK_FIELD(QNCacheEntry, tag, int32_t, 32);
static_assert(sizeof(QNCacheEntry) == 40);

CHECK_FIELD(QNSocketSlot, fd, int32_t, 0);
CHECK_FIELD(QNSocketSlot, addr, uint32_t, 4);
CHECK_FIELD(QNSocketSlot, port, uint16_t, 8);
CHECK_FIELD(QNSocketSlot, connState, int32_t, 12);
static_assert(sizeof(QNSocketSlot) == 16);

static_assert(std::is_same_v<decltype(socket_list), QNSocketSlot[20]>);

CHECK_FIELD(QNTime, year, uint32_t, 0);
CHECK_FIELD(QNTime, month, uint32_t, 4);
CHECK_FIELD(QNTime, day, uint32_t, 8);
CHECK_FIELD(QNTime, hour, uint32_t, 12);
CHECK_FIELD(QNTime, minute, uint32_t, 16);
CHECK_FIELD(QNTime, second, uint32_t, 20);
CHECK_FIELD(QNTime, extra, uint32_t, 24);
static_assert(sizeof(QNTime) == 28);
static_assert(std::is_same_v<decltype(start_time), uint32_t>);
static_assert(std::is_same_v<decltype(end_time), uint32_t>);

CHECK_FIELD(QNFSCallBack, owner, intptr_t[4], 0);
CHECK_FIELD(QNFSCallBack, function, QNFSCallBackFunction, 32);
CHECK_FIELD(QNFSCallBack, context, intptr_t, 40);
static_assert(sizeof(QNFSCallBack) == 48);
