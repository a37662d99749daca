// SPDX-License-Identifier: MIT
// An MMS centre in small: it takes a message in, notifies of it, and hands it
// out to a handset that came through the gateway, says what it is, and sends
// back the cookie that it was given. The handset may keep the message, and the way
// to it, for a week.
#ifndef DEMO_CENTRE_H
#define DEMO_CENTRE_H

#include <cstdint>
#include <mutex>
#include <string>

#include "pdu.h"
#include "support/http_server.h"

namespace demo {

// The cookie that the centre sets, as a handset has to send it back.
inline constexpr char kSessionCookie[] = "session=mms-4711";

class Centre {
 public:
  // Throws std::runtime_error when no port can be had.
  Centre();

  uint16_t port() const { return server_.port(); }
  // Where messages are posted to.
  std::string SubmitUrl() const;

  // The message as it was posted; empty before.
  std::string Received() const;
  // The notification that the recipient of that message gets; empty before.
  std::string Notification() const;
  // The message as it was handed out last; empty before.
  std::string Delivered() const;
  // Why the last request was refused; empty if none was.
  std::string Complaint() const;

 private:
  void AddRoutes(httplib::Server &server);
  void Submit(const httplib::Request &request, httplib::Response &answer);
  void Redirect(httplib::Response &answer) const;
  void Deliver(const httplib::Request &request, httplib::Response &answer);
  void Refuse(httplib::Response &answer, const std::string &reason);
  std::string Url(const std::string &path) const;

  mutable std::mutex mutex_;
  std::string received_;
  std::string delivered_;
  std::string complaint_;
  qntest::HttpServer server_;  // last, so that it ends before what its threads use
};

}  // namespace demo

#endif
