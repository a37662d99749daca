// SPDX-License-Identifier: MIT
#include "centre.h"

#include <ctime>
#include <exception>

#include "gateway.h"

namespace demo {
namespace {

constexpr char kSubmitPath[] = "/mms";
constexpr char kNotifiedPath[] = "/mms/m1";
constexpr char kContentPath[] = "/mms/store/7/m1";
constexpr char kMessageName[] = "m1@centre.example";
constexpr char kForAWeek[] = "max-age=604800";

constexpr uint8_t kStatusOk = 0x80;
constexpr uint8_t kPersonal = 0x80;
constexpr uint8_t kAddressPresent = 0x80;
constexpr uint8_t kRelativeTime = 0x81;
constexpr uint64_t kExpirySeconds = 86400;

// The network knows who sends; the handset has left that to it.
std::string Sender() {
  return SizedValue(OctetValue(kAddressPresent) + TextValue("+15550100/TYPE=PLMN"));
}

std::string Confirmation(const Pdu &request) {
  return Encode({{{kMessageType, OctetValue(kSendConfirmation)},
                  {kTransactionId, std::string(request.Value(kTransactionId))},
                  {kVersion, OctetValue(kVersion10)},
                  {kResponseStatus, OctetValue(kStatusOk)},
                  {kMessageId, TextValue(kMessageName)}},
                 ""});
}

std::string Retrieval(const Pdu &request) {
  return Encode({{{kMessageType, OctetValue(kRetrieveConfirmation)},
                  {kVersion, OctetValue(kVersion10)},
                  {kMessageId, TextValue(kMessageName)},
                  {kDate, NumberValue(static_cast<uint64_t>(std::time(nullptr)))},
                  {kFrom, Sender()},
                  {kTo, std::string(request.Value(kTo))},
                  {kSubject, std::string(request.Value(kSubject))},
                  {kContentType, OctetValue(kMultipartMixed)}},
                 request.content});
}

// What a handset must say of itself with every request; the text names the
// first thing that is missing.
std::string MissingFrom(const httplib::Request &request) {
  const auto value = [&request](const char *name) { return request.get_header_value(name); };
  if (value("Via") != kGatewayVia) return "the request did not come through the gateway";
  if (value("User-Agent").empty()) return "there is no User-Agent";
  if (!value("Profile").starts_with("http://")) return "there is no Profile URL";
  if (value("Accept-Language").empty()) return "there is no Accept-Language";
  if (value("Accept").find(kMmsMediaType) == std::string::npos) {
    return "Accept does not name multimedia messages";
  }
  return "";
}

}  // namespace

Centre::Centre() : server_([this](httplib::Server &server) { AddRoutes(server); }) {}

std::string Centre::Url(const std::string &path) const {
  return "http://127.0.0.1:" + std::to_string(port()) + path;
}

std::string Centre::SubmitUrl() const { return Url(kSubmitPath); }

std::string Centre::Received() const {
  const std::lock_guard lock(mutex_);
  return received_;
}

std::string Centre::Delivered() const {
  const std::lock_guard lock(mutex_);
  return delivered_;
}

std::string Centre::Complaint() const {
  const std::lock_guard lock(mutex_);
  return complaint_;
}

std::string Centre::Notification() const {
  const std::string received = Received();
  if (received.empty()) return "";
  const std::string expiry = SizedValue(OctetValue(kRelativeTime) + NumberValue(kExpirySeconds));
  return Encode({{{kMessageType, OctetValue(kNotification)},
                  {kTransactionId, TextValue("n1")},
                  {kVersion, OctetValue(kVersion10)},
                  {kFrom, Sender()},
                  {kSubject, std::string(Decode(received).Value(kSubject))},
                  {kMessageClass, OctetValue(kPersonal)},
                  {kMessageSize, NumberValue(received.size())},
                  {kExpiry, expiry},
                  {kContentLocation, TextValue(Url(kNotifiedPath))}},
                 ""});
}

void Centre::AddRoutes(httplib::Server &server) {
  server.Post(kSubmitPath, [this](const auto &request, auto &answer) { Submit(request, answer); });
  server.Get(kNotifiedPath, [this](const auto &, auto &answer) { Redirect(answer); });
  server.Get(kContentPath, [this](const auto &request, auto &answer) { Deliver(request, answer); });
}

void Centre::Refuse(httplib::Response &answer, const std::string &reason) {
  const std::lock_guard lock(mutex_);
  complaint_ = reason;
  answer.status = 403;
  answer.set_content("The centre refuses: " + reason + ".\n", "text/plain");
}

void Centre::Submit(const httplib::Request &request, httplib::Response &answer) {
  const std::string missing = MissingFrom(request);
  if (!missing.empty()) return Refuse(answer, missing);
  if (request.get_header_value("Content-Type") != kMmsMediaType) {
    return Refuse(answer, "the media type is not that of a multimedia message");
  }
  try {
    const Pdu message = Decode(request.body);
    if (message.Octet(kMessageType) != kSendRequest) {
      return Refuse(answer, "the message does not ask to be sent");
    }
    answer.set_content(Confirmation(message), kMmsMediaType);
  } catch (const std::exception &error) {
    return Refuse(answer, error.what());
  }
  const std::lock_guard lock(mutex_);
  received_ = request.body;
}

void Centre::Redirect(httplib::Response &answer) const {
  answer.set_header("Set-Cookie", std::string(kSessionCookie) + "; Path=/mms");
  answer.set_header("Cache-Control", kForAWeek);
  answer.set_redirect(Url(kContentPath));
}

void Centre::Deliver(const httplib::Request &request, httplib::Response &answer) {
  const std::string missing = MissingFrom(request);
  if (!missing.empty()) return Refuse(answer, missing);
  if (request.get_header_value("Cookie") != kSessionCookie) {
    return Refuse(answer, "the cookie was not sent back");
  }
  const std::string received = Received();
  if (received.empty()) return Refuse(answer, "there is no message");

  const std::string message = Retrieval(Decode(received));
  answer.set_header("Cache-Control", kForAWeek);
  answer.set_content(message, kMmsMediaType);
  const std::lock_guard lock(mutex_);
  delivered_ = message;
}

}  // namespace demo
