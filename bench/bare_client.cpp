// SPDX-License-Identifier: MIT
// The floor: what remains of an exchange when a program knows all beforehand.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "clients.h"

namespace bench {
namespace {

int Connect(const Exchange &exchange) {
  sockaddr_in peer = {};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(exchange.port);
  if (inet_pton(AF_INET, kOriginAddress, &peer.sin_addr) != 1) return -1;
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (connect(fd, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) == 0) return fd;
  close(fd);
  return -1;
}

bool Send(int fd, std::string_view bytes, std::size_t piece) {
  while (!bytes.empty()) {
    const ssize_t sent = send(fd, bytes.data(), std::min(piece, bytes.size()), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// The bytes of the body in the first piece, which holds the whole header.
std::size_t BodyIn(std::string_view first_piece) {
  constexpr std::string_view kHeaderEnd = "\r\n\r\n";
  const std::size_t found = first_piece.find(kHeaderEnd);
  return found == std::string_view::npos ? 0 : first_piece.size() - found - kHeaderEnd.size();
}

// Receives straight into the application's room until the peer closes.
std::size_t ReceiveBody(int fd, std::vector<char> &room) {
  std::size_t body = 0;
  bool first = true;
  while (true) {
    const ssize_t received = recv(fd, room.data(), room.size(), 0);
    if (received <= 0) return body;
    const auto size = static_cast<std::size_t>(received);
    body += first ? BodyIn({room.data(), size}) : size;
    first = false;
  }
}

}  // namespace

Client BareClient(const Exchange &exchange, std::size_t send_piece, std::size_t receive_piece) {
  auto room = std::make_shared<std::vector<char>>(receive_piece);
  return [&exchange, send_piece, room]() -> std::size_t {
    const int fd = Connect(exchange);
    if (fd < 0) return 0;
    const std::size_t body =
        Send(fd, exchange.request, send_piece) ? ReceiveBody(fd, *room) : std::size_t{0};
    close(fd);
    return body;
  };
}

}  // namespace bench
