// SPDX-License-Identifier: MIT
// The contenders of the exchange benchmark. Each function prepares a client for
// one exchange, which must outlive it.
#ifndef BENCH_CLIENTS_H
#define BENCH_CLIENTS_H

#include <cstddef>

#include "exchange.h"

namespace bench {

// The least that a plain program does with a socket: it sends in pieces of at
// most `send_piece` bytes and receives at most `receive_piece` at a time.
Client BareClient(const Exchange &exchange, std::size_t send_piece, std::size_t receive_piece);

// libcurl's easy interface, with a handle for all exchanges or one for each.
// The connection is closed after each, as HTTP/1.0 has it.
enum class Handle { kReused, kFresh };
Client CurlClient(const Exchange &exchange, Handle handle);

// This library, read with an application buffer of that size. The stack must be
// started and its proxy set.
Client LibraryClient(const Exchange &exchange, std::size_t buffer_bytes);

// The exact bytes that this library sends for the exchange, body included, so
// that the other contenders send the same.
std::string ComposeRequest(const Exchange &exchange);

}  // namespace bench

#endif
