// SPDX-License-Identifier: MIT
#include "redirect.h"

#include "failure.h"

namespace qnget {
namespace {

constexpr int kMovedPermanently = 301;
constexpr int kFound = 302;
constexpr int kSeeOther = 303;
constexpr int kTemporaryRedirect = 307;
constexpr int kPermanentRedirect = 308;

bool IsRedirect(int status) {
  return status == kMovedPermanently || status == kFound || status == kSeeOther ||
         status == kTemporaryRedirect || status == kPermanentRedirect;
}

bool BecomesAGet(const std::string &method, int status) {
  if (status == kSeeOther) return method == "POST" || method == "PUT";
  return method == "POST" && (status == kMovedPermanently || status == kFound);
}

ExitCode CodeOf(UrlFault fault) {
  switch (fault) {
    case UrlFault::kSecure:
      return kSecureRedirect;
    case UrlFault::kNoServer:
      return kNotResolved;
    default:
      return kNotConnected;
  }
}

}  // namespace

std::optional<Request> FollowingRequest(const Request &request, const AnswerHead &head) {
  const std::string location = head.First("Location").value_or("");
  if (!IsRedirect(head.status) || location.empty()) return {};
  const UrlReading target = ResolveReference(request.url, location);
  if (target.fault != UrlFault::kNone) {
    throw Failure(CodeOf(target.fault),
                  "redirected to a URL that cannot be followed: " + target.problem);
  }
  if (BecomesAGet(request.method, head.status)) return Request{"GET", target.url, false};
  return Request{request.method, target.url, request.with_body};
}

}  // namespace qnget
