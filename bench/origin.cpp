// SPDX-License-Identifier: MIT
#include "origin.h"

#include <sys/prctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform.h"

namespace bench {
namespace {

constexpr std::size_t kBlock = 1 << 19;  // most bytes of one send
constexpr std::string_view kHeaderEnd = "\r\n\r\n";

std::size_t NumberAt(std::string_view text) {
  std::size_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// What the header says: the size of the answer's body and of the request's.
std::size_t AnswerBytes(std::string_view header) {
  const std::string_view line = header.substr(0, header.find(" HTTP/"));
  return NumberAt(line.substr(line.rfind('/') + 1));
}

std::size_t BodyBytes(std::string_view header) {
  constexpr std::string_view kName = "\r\nContent-Length: ";
  const std::size_t found = header.find(kName);
  return found == std::string_view::npos ? 0 : NumberAt(header.substr(found + kName.size()));
}

// Reads one request to its end; gives the size of the answer's body, or nothing
// when the client closed before.
std::optional<std::size_t> ReadRequest(int fd, std::string &room) {
  std::string header;
  while (header.find(kHeaderEnd) == std::string::npos) {
    const ssize_t received = recv(fd, room.data(), room.size(), 0);
    if (received <= 0) return std::nullopt;
    header.append(room, 0, static_cast<std::size_t>(received));
  }
  const std::size_t body_start = header.find(kHeaderEnd) + kHeaderEnd.size();
  std::size_t come = header.size() - body_start;
  const std::size_t expected = BodyBytes(header);
  while (come < expected) {
    const ssize_t received = recv(fd, room.data(), room.size(), 0);
    if (received <= 0) return std::nullopt;
    come += static_cast<std::size_t>(received);
  }
  return AnswerBytes(header);
}

void Answer(int fd, std::size_t size, std::string_view block) {
  const std::string header =
      "HTTP/1.0 200 OK\r\n"
      "Date: Mon, 06 Jan 2020 10:00:00 GMT\r\n"
      "Server: origin\r\n"
      "Content-Type: application/octet-stream\r\n"
      "Content-Length: " +
      std::to_string(size) +
      "\r\n"
      "Connection: close\r\n"
      "\r\n";
  // The header goes out together with the start of the body.
  bool sound = qntest::SendAll(fd, header, size > 0 ? MSG_MORE : 0);
  while (sound && size > 0) {
    const std::string_view piece = block.substr(0, std::min(size, block.size()));
    sound = qntest::SendAll(fd, piece);
    size -= piece.size();
  }
}

[[noreturn]] void Serve(int listener) {
  const std::string block(kBlock, 'x');
  std::string room(kBlock, '\0');
  while (true) {
    const qntest::Descriptor client(accept(listener, nullptr, nullptr));
    if (client.get() < 0) continue;
    if (const auto size = ReadRequest(client.get(), room)) Answer(client.get(), *size, block);
  }
}

qntest::ForkedProcess Started(qntest::LoopbackPort &port, int cpu) {
  port.Listen(SOMAXCONN);
  const auto origin = [&]() -> int {
    prctl(PR_SET_NAME, "origin");
    RunOn(cpu);
    Serve(port.fd());
  };
  return qntest::ForkedProcess(origin, qntest::ForkedProcess::kForEver);
}

}  // namespace

Origin::Origin(int cpu) : process_(Started(port_, cpu)) { port_.Close(); }

}  // namespace bench
