/* SPDX-License-Identifier: MIT */
/* What an application tells the library's platform on a device without an operating
 * system: how to reach the network, and what time it is. Files are kept in memory. */
#ifndef DEVICE_H
#define DEVICE_H

#include <stdint.h>

#include "qnstack/qn_export.h"
#include "qnstack/qn_fs_comm_tools.h"

QN_BEGIN_DECLS

/* The network, as a modem or a small TCP stack has it. A connection is known by a
 * number from 1 that is given with every call. Each function may give -1 for a
 * failure, and -2 for "not yet", after which it is called again. */
typedef struct DeviceNetwork {
  /* Connects to an address, in network byte order, and a port: 1 when it stands. */
  int32_t (*connect)(int32_t connection, uint32_t address, uint16_t port);
  /* Sends bytes: how many were taken. Called with NULL and 0 it ends the connection. */
  int32_t (*send)(int32_t connection, const void *bytes, int32_t count);
  /* Receives bytes: how many there were; 0 when the peer has closed. */
  int32_t (*receive)(int32_t connection, void *destination, int32_t capacity);
} DeviceNetwork;

/* Sets the network, which is copied. Before, every connection fails. */
QN_API void device_set_network(const DeviceNetwork *network);

/* Sets the clock, which stands still until it is set again: the local date and time,
 * with years from 1900 and months from 0, and the seconds since the start. */
QN_API void device_set_clock(const QNTime *local, uint32_t seconds);

QN_END_DECLS

#endif
