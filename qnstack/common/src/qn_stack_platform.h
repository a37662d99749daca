// SPDX-License-Identifier: MIT
// What the socket layer needs of a platform. A platform defines each of these
// functions; qn_stack_porting.cpp alone calls them, for one slot at a time and on
// one thread.
#ifndef QNSTACK_QN_STACK_PLATFORM_H
#define QNSTACK_QN_STACK_PLATFORM_H

#include <cstdint>

namespace qn::platform {

// What ConnectSocket(), SendBytes() and ReceiveBytes() give besides success.
inline constexpr int32_t kSocketFailed = -1;
inline constexpr int32_t kWouldWait = -2;  // only where sockets do not block: ask again later

// Makes an IPv4 stream socket. Its descriptor is above 0, because 0 marks a free
// slot, and above those of standard streams where a platform has such. Programs
// that the application starts do not inherit it. kSocketFailed if there is none.
int32_t OpenSocket();

// Stores the IPv4 address of a host name or a dotted address, in network byte
// order; false, with nothing stored, if there is none. A dotted address needs no
// look-up.
bool ResolveHost(const char *name, uint32_t *address);

// Connects a socket to an address in network byte order and a port in host byte
// order. 1 when connected; kSocketFailed, also for a descriptor of -1; kWouldWait
// while it is under way, after which the same call is made again.
int32_t ConnectSocket(int32_t fd, uint32_t address, uint16_t port);

// Sends what one call of the platform takes of `count` bytes: their number,
// kSocketFailed or kWouldWait. A peer that is gone is a failure, and never a signal
// to the program.
int32_t SendBytes(int32_t fd, const void *bytes, int32_t count);

// Receives what one call of the platform gives, at most `capacity` bytes: their
// number, 0 when the peer has closed, kSocketFailed or kWouldWait.
int32_t ReceiveBytes(int32_t fd, void *destination, int32_t capacity);

// A hint before the last chunk of a request that took several: nothing follows, so
// the chunk need not wait until the earlier ones are acknowledged. TCP_NODELAY does
// it where there is such an option. Elsewhere, also where small segments are never
// held back, the function does nothing: the request arrives all the same.
void HurrySocket(int32_t fd);

// Closes a socket.
void CloseSocket(int32_t fd);

// The number of the last error, as an application may show it; 0 if the platform
// has no such numbers.
int32_t LastSocketError();

}  // namespace qn::platform

#endif
