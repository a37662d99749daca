// SPDX-License-Identifier: MIT
// One exchange with the library: a context of its own, driven until the request
// is out; the answer's bytes are received here one piece at a time, so that its
// end and every break show.
#ifndef QNGET_EXCHANGE_H
#define QNGET_EXCHANGE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hop.h"
#include "options.h"
#include "progress.h"
#include "qnstack/qnstack.h"
#include "request.h"

namespace qnget {

class Exchange {
 public:
  /**
   * Opens a context for a request with these header fields, and with `body` if it
   * has one. Options and body must live as long as this. One exchange at a time.
   */
  Exchange(const Options &options, const Request &request, std::vector<HeaderField> fields,
           const std::string &body);

  /** Sends the request. Throws Failure, unless the server answers before it takes all. */
  void Send(Progress &progress);

  /**
   * The bytes that have come and not been taken off this view yet. Waits for some
   * if there are none; empty at the end of the connection.
   */
  std::string_view &Unread();

  /** Those that need no waiting. */
  std::string_view UnreadNow() const { return unread_; }

  /** Why the connection broke; empty while it stands, and if the peer closed it. */
  const std::string &BrokenBy() const { return broken_by_; }

  /** Hands the library an answer's head, whose cookies it keeps. */
  void KeepCookies(const std::string &head);

  /** Whom it is with: "server mms.example.com:80". */
  const std::string &Address() const { return hop_.Address(); }

 private:
  struct Release {
    void operator()(QNHttpCtx *ctx) const { fnQNStack_Http_FreeCtx(ctx); }
  };

  bool IsBufferSent() const;
  bool IsConnected() const;
  Step CurrentStep() const;
  void TakeComposed() const;
  void SayProgress(Progress &progress) const;
  void FeedBody();
  void TakeSendFailure(const ResolverError &error);
  void Receive();

  const Options &options_;
  Hop hop_;
  std::string_view body_;  // of the request
  std::unique_ptr<QNHttpCtx, Release> ctx_;
  std::string_view unfed_;  // of the body; not with the library yet
  std::vector<char> chunk_;
  std::string_view unread_;  // of the chunk
  std::string broken_by_;
  bool ended_ = false;
};

}  // namespace qnget

#endif
