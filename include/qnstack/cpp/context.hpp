// SPDX-License-Identifier: MIT
/**
 * @file context.hpp
 * @brief Contexts: opened, looked at, stopped, released. Included by
 *        qnstack.hpp.
 */
#ifndef QNSTACK_CPP_CONTEXT_HPP
#define QNSTACK_CPP_CONTEXT_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "qnstack/cpp/arguments.hpp"
#include "qnstack/cpp/handles.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/** States of a context; the numbers are those of the C interface. */
enum class State : int32_t {
  kNone = -1,                              /**< there is no context */
  kNew = QN_HTTP_NEW,                      /**< see #QN_HTTP_NEW */
  kResolved = QN_HTTP_RESOLVED,            /**< see #QN_HTTP_RESOLVED */
  kConnected = QN_HTTP_CONNECTED,          /**< see #QN_HTTP_CONNECTED */
  kSending = QN_HTTP_SENDING,              /**< see #QN_HTTP_SENDING */
  kReceiving = QN_HTTP_RECEIVING,          /**< see #QN_HTTP_RECEIVING */
  kComplete = QN_HTTP_COMPLETE,            /**< see #QN_HTTP_COMPLETE */
  kStopped = QN_HTTP_STOPPED,              /**< see #QN_HTTP_STOPPED */
  kResolveFailed = QN_HTTP_RESOLVE_FAILED, /**< see #QN_HTTP_RESOLVE_FAILED */
  kConnectFailed = QN_HTTP_CONNECT_FAILED, /**< see #QN_HTTP_CONNECT_FAILED */
  kSendFailed = QN_HTTP_SEND_FAILED,       /**< see #QN_HTTP_SEND_FAILED */
  kReceiveFailed = QN_HTTP_RECEIVE_FAILED, /**< see #QN_HTTP_RECEIVE_FAILED */
  kGivenUp = QN_HTTP_GIVEN_UP              /**< see #QN_HTTP_GIVEN_UP */
};

/** How far an answer has been read; kept for ReadHead() and ReadBody(). */
struct Reading {
  uint64_t received = 0;    /**< bytes of the body that ReadBody() has handed out */
  bool head_is_cut = false; /**< the answer ended within its header */
};

/** Releases a context as Release does, and keeps what is known of its answer. */
struct ReleaseContext {
  /**
   * Releases a context.
   *
   * @param ctx the context.
   */
  void operator()(QNHttpCtx *ctx) noexcept {
    reading = Reading();
    Release()(ctx);
  }
  Reading reading{}; /**< how far the context's answer has been read */
};

/**
 * Owns a context; empty where the C interface gives NULL.
 *
 * It may be released in any state and in any order: a complete context whose
 * slot another has taken leaves that one alone (see Release). What is called in
 * C on its pointer keeps the rules of C.
 */
using Context = std::unique_ptr<QNHttpCtx, ReleaseContext>;

/**
 * Opens a GET request.
 *
 * @param url as for fnQNStack_Http_Open_Get().
 * @return the context; empty also for a text that is refused.
 */
[[nodiscard]] inline Context OpenGet(const Terminated &url) noexcept {
  return Context(fnQNStack_Http_Open_Get(url.get()));
}

/**
 * Opens a HEAD request.
 *
 * @param url as for fnQNStack_Http_Open_Head().
 * @return as OpenGet().
 */
[[nodiscard]] inline Context OpenHead(const Terminated &url) noexcept {
  return Context(fnQNStack_Http_Open_Head(url.get()));
}

/** @cond */
namespace detail {

using OpenWithBody = QNHttpCtx *(*)(const char *, const void *, int32_t, const char *);

inline Context Open(OpenWithBody open, const Terminated &url, std::string_view body,
                    const Terminated &type) noexcept {
  const int32_t length = LengthOf(body.size());
  if (length < 0 || type.IsRefused()) return Context();
  return Context(open(url.get(), body.data(), length, type.get()));
}

inline std::string_view ViewOf(const char *text) noexcept {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

}  // namespace detail
/** @endcond */

/**
 * Opens a POST request.
 *
 * @param url as for fnQNStack_Http_Open_Post().
 * @param body the body. It is not copied: until the first read has composed the
 *        request it must live and stay as it is. A `std::string` that ends with
 *        the statement does not compile; a view of one does, and a local array
 *        that is left too, so take care of those yourself.
 * @param type as for fnQNStack_Http_Open_Post().
 * @return the context; empty also for a body above 2 GiB or a text that is
 *         refused.
 */
[[nodiscard]] inline Context OpenPost(const Terminated &url, std::string_view body,
                                      const Terminated &type = nullptr) noexcept {
  return detail::Open(&fnQNStack_Http_Open_Post, url, body, type);
}

/**
 * Opens a POST request.
 *
 * @param url as for fnQNStack_Http_Open_Post().
 * @param body a C string, as a literal is one; it must live as the other
 *        OpenPost() says. NULL for no body.
 * @param type as for fnQNStack_Http_Open_Post().
 * @return as the other OpenPost().
 */
[[nodiscard]] inline Context OpenPost(const Terminated &url, const char *body,
                                      const Terminated &type = nullptr) noexcept {
  return OpenPost(url, detail::ViewOf(body), type);
}

/** A string that ends with the statement is refused: a body must live until the first read. */
Context OpenPost(const Terminated &, const std::string &&, const Terminated & = nullptr) = delete;

/**
 * Opens a PUT request.
 *
 * @param url as for fnQNStack_Http_Open_Put().
 * @param body as for OpenPost().
 * @param type as for fnQNStack_Http_Open_Put().
 * @return as OpenPost().
 */
[[nodiscard]] inline Context OpenPut(const Terminated &url, std::string_view body,
                                     const Terminated &type = nullptr) noexcept {
  return detail::Open(&fnQNStack_Http_Open_Put, url, body, type);
}

/**
 * Opens a PUT request.
 *
 * @param url as for fnQNStack_Http_Open_Put().
 * @param body as for OpenPost() of a C string.
 * @param type as for fnQNStack_Http_Open_Put().
 * @return as OpenPost().
 */
[[nodiscard]] inline Context OpenPut(const Terminated &url, const char *body,
                                     const Terminated &type = nullptr) noexcept {
  return OpenPut(url, detail::ViewOf(body), type);
}

/** A string that ends with the statement is refused here too. */
Context OpenPut(const Terminated &, const std::string &&, const Terminated & = nullptr) = delete;

/**
 * Opens a tunnel through the proxy.
 *
 * @param host as for fnQNStack_Http_Open_Connect().
 * @param port as for fnQNStack_Http_Open_Connect().
 * @return as OpenGet().
 */
[[nodiscard]] inline Context OpenConnect(const Terminated &host, int32_t port) noexcept {
  if (host.IsRefused()) return Context();
  return Context(fnQNStack_Http_Open_Connect(host.get(), port));
}

/**
 * The state of a context.
 *
 * @param context the context; an empty one has State::kNone.
 * @return its state.
 */
[[nodiscard]] inline State StateOf(const Context &context) noexcept {
  return static_cast<State>(fnQNStack_Http_getState(context.get()));
}

/**
 * Stops a context by fnQNStack_Http_Stop(), but leaves a slot alone that a
 * complete context has given back.
 *
 * @param context the context; an empty one does nothing.
 */
inline void Stop(Context &context) noexcept {
  if (StateOf(context) == State::kComplete) context->socket = -1;
  fnQNStack_Http_Stop(context.get());
}

/** @} */

}  // namespace qnstack

#endif
