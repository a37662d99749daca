/* SPDX-License-Identifier: MIT */
/**
 * @file qn_stack_porting.h
 * @brief The socket layer: IPv4 stream sockets behind small slot numbers.
 *
 * The slots are the same on every platform. What a platform supplies for them
 * stands in `qnstack/common/src/qn_stack_platform.h`, and @ref ports tells how to
 * bring another. A slot is a number from 1 to 19 into #socket_list. It is taken
 * by fnQN_Stack_CreateSocket() and given back by fnQN_Stack_CloseSocket() alone,
 * so a slot whose connection failed stays taken. BSD sockets block: connecting,
 * sending and receiving wait, and a signal that interrupts such a wait is a
 * failure like any other. One thread only.
 */
#ifndef QNSTACK_QN_STACK_PORTING_H
#define QNSTACK_QN_STACK_PORTING_H

#include <stdint.h>

#include "qnstack/qn_export.h"

QN_BEGIN_DECLS

/**
 * @addtogroup porting
 * @{
 */

/** Entries of #socket_list; entry 0 is never handed out. */
#define QN_SOCKET_SLOTS 20

/** One entry of #socket_list. */
typedef struct QNSocketSlot {
  int32_t fd;        /**< the platform's descriptor; 0 means the slot is free, -1 that none could
                          be made */
  uint32_t addr;     /**< IPv4 address of the peer in network byte order */
  uint16_t port;     /**< port of the peer, in host byte order */
  int32_t connState; /**< 0 not connected yet, 1 connected, -1 the attempt failed, -2 under way
                          (never set here) */
} QNSocketSlot;

/** The process-wide table of sockets. A program may poll an `fd`; it writes nothing here. */
extern QN_API QNSocketSlot socket_list[QN_SOCKET_SLOTS];

/**
 * Starts the socket layer. Open sockets are not touched.
 *
 * @return 1 when it started; always, for there is nothing to start.
 */
QN_API int32_t fnQN_Stack_SocketInit(void);

/** Stops the socket layer. Sockets that are still open stay open. */
QN_API void fnQN_Stack_SocketUNInit(void);

/**
 * Resolves a peer's name and stores address and port in a slot.
 *
 * @param slot 1 to 19.
 * @param name host name or dotted IPv4 address; not changed or kept.
 * @param port port in host byte order; its low 16 bits are stored before the
 *        name is looked up, so also when that fails.
 * @return 1; -1 for a slot out of range, a NULL name, a name without an
 *         address, or the address 255.255.255.255 (which is stored).
 */
QN_API int32_t fnQN_Stack_GetHostByName(int32_t slot, const char *name, int32_t port);

/**
 * Makes a socket and takes the lowest free slot for it. Its descriptor is above
 * 2, also where a standard stream is closed, and is closed on exec.
 *
 * @return the slot, 1 to 19, also when the platform refused the socket (the
 *         slot's `fd` is then -1 and its first use fails); 0 when all are
 *         taken, with no descriptor left open.
 */
QN_API int32_t fnQN_Stack_CreateSocket(void);

/**
 * Connects a slot to the address that was resolved into it.
 *
 * @param slot 1 to 19. Slot 0 is accepted too, unlike elsewhere, and fails as
 *        a slot without a socket does.
 * @return 1 connected (at once if it was already); -1 this attempt failed; 0 an
 *         earlier attempt had failed, or @p slot is negative or above 19; -2
 *         under way, where the platform's sockets do not block: call again.
 */
QN_API int32_t fnQN_Stack_Connect(int32_t slot);

/**
 * Sends bytes with one call to the platform.
 *
 * A peer that is gone gives -1 and never a SIGPIPE. The program's handler, mask
 * and pending signals are not touched.
 *
 * @param slot 1 to 19, connected.
 * @param bytes what to send; stays the caller's.
 * @param count number of bytes.
 * @return the number of bytes sent, which may be less than @p count; -1 on
 *         failure, a slot out of range or not connected, or a negative count;
 *         -3 for NULL bytes; -2 to call again, as from fnQN_Stack_Connect().
 */
QN_API int32_t fnQN_Stack_SendData(int32_t slot, const void *bytes, int32_t count);

/**
 * Receives bytes with one call to the platform.
 *
 * @param slot 1 to 19, connected.
 * @param destination room for @p capacity bytes.
 * @param capacity the most bytes to receive.
 * @return the number of bytes received; 0 when the peer has closed. With a
 *         @p capacity of 0 it is 0 while the peer is there too, as soon as data
 *         waits. -1 on failure, a slot out of range or not connected, or a
 *         negative capacity; -3 for a NULL destination; -2 to call again, as from
 *         fnQN_Stack_Connect().
 */
QN_API int32_t fnQN_Stack_RecvData(int32_t slot, void *destination, int32_t capacity);

/**
 * Closes a slot's socket and frees the slot.
 *
 * @param slot 1 to 19; any other does nothing.
 */
QN_API void fnQN_Stack_CloseSocket(int32_t slot);

/**
 * Reserved for platforms with sockets that do not block; it changes nothing.
 *
 * @return always 1.
 */
QN_API int32_t fnQN_Stack_SetNoBlock(void);

/**
 * The platform's last error number.
 *
 * @return `errno` on POSIX systems; ask for it right after the call that failed.
 */
QN_API int32_t fnQN_Stack_SocketError(void);

/** @} */

QN_END_DECLS

#endif
