// SPDX-License-Identifier: MIT
/**
 * @file stack.hpp
 * @brief The HTTP stack, started and closed with an object. Included by
 *        qnstack.hpp.
 */
#ifndef QNSTACK_CPP_STACK_HPP
#define QNSTACK_CPP_STACK_HPP

#include <cstdint>
#include <cstring>

#include "qnstack/cpp/arguments.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * Starts the HTTP stack and closes it at its end. The stack is one for the
 * process, so make one object, and let it outlive the contexts: it can be
 * neither copied nor moved, and a second one would close the stack of both.
 */
class Stack {
 public:
  /** Starts the stack by fnQNStack_Http_InitStack(). */
  Stack() noexcept : started_(fnQNStack_Http_InitStack() == 0) {}
  /** Closes the stack by fnQNStack_Http_CloseStack(), and takes back the proxy that it set. */
  ~Stack() {
    if (started_) fnQNStack_Http_CloseStack();
    if (set_proxy_) ClearProxy();
  }
  Stack(const Stack &) = delete;
  Stack &operator=(const Stack &) = delete;

  /** @return whether the stack has been started. */
  [[nodiscard]] bool IsStarted() const noexcept { return started_; }

  /**
   * Sets the proxy for every context from its next resolve step on.
   *
   * @param host as for fnQNStack_Http_SetProxy(), but never NULL.
   * @param port as for fnQNStack_Http_SetProxy().
   * @return false, with the proxy as it was, for NULL or a text that is refused,
   *         or when no proxy is set because the heap refuses the first one. A
   *         proxy that was set before stays then without a sign.
   */
  bool SetProxy(const Terminated &host, int32_t port) noexcept {
    if (host.get() == nullptr) return false;
    fnQNStack_Http_SetProxy(host.get(), port);
    set_proxy_ = fnQNStack_Have_Proxy() == 1;
    return set_proxy_;
  }

  /** Removes the proxy for every context from its next resolve step on. */
  void ClearProxy() noexcept {
    fnQNStack_Http_SetProxy(nullptr, 0);
    set_proxy_ = false;
  }

  /**
   * Sets a request header by fnQNStack_Http_Head_Write(). Of all headers the
   * four that qn_stack_http_head.h names are sent.
   *
   * @param name as there, but never NULL.
   * @param value as there, but never NULL; nothing checks it for line ends.
   * @return whether the table holds it now.
   */
  bool SetHeader(const Terminated &name, const Terminated &value) noexcept {
    if (name.get() == nullptr || value.get() == nullptr) return false;
    fnQNStack_Http_Head_Write(name.get(), value.get());
    const char *stored = fnQNStack_Http_Head_Read(name.get());
    return stored != nullptr && std::strcmp(stored, value.get()) == 0;
  }

 private:
  bool started_;
  bool set_proxy_ = false;
};

/** @} */

}  // namespace qnstack

#endif
