// SPDX-License-Identifier: MIT
// One HTTP exchange with the local origin as every contender makes it, and what
// a contender is: something that makes the exchange once.
#ifndef BENCH_EXCHANGE_H
#define BENCH_EXCHANGE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace bench {

inline constexpr char kOriginAddress[] = "127.0.0.1";

struct Exchange {
  std::string name;          // "GET 1 KB"
  std::string url;           // its path names the size of the answer's body
  std::uint16_t port;        // of the origin, which stands in for the proxy too
  bool through_proxy;        // the origin is the proxy of `url`
  std::string_view body;     // of the request; empty for a GET
  std::size_t answer_bytes;  // of the answer's body
  std::string request;       // the exact bytes that go out, body included
  int count;                 // how many make one slice of a round
};

// Makes an exchange once and gives the number of body bytes that it handed out.
using Client = std::function<std::size_t()>;

}  // namespace bench

#endif
