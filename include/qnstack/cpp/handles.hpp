/**
 * @file handles.hpp
 * @brief Handles that own what the library made. Included by qnstack.hpp.
 */
#ifndef QNSTACK_CPP_HANDLES_HPP
#define QNSTACK_CPP_HANDLES_HPP

#include <memory>

#include "qnstack/qnstack.h"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/** Releases what the library made, each by the function made for it. */
struct Release {
  /**
   * Releases a context. One that is complete keeps the number of a slot that
   * was closed when the peer closed; the number is forgotten first, as another
   * context may have that slot by now.
   *
   * @param ctx the context.
   */
  void operator()(QNHttpCtx *ctx) const noexcept {
    if (fnQNStack_Http_getState(ctx) == QN_HTTP_COMPLETE) ctx->socket = -1;
    fnQNStack_Http_FreeCtx(ctx);
  }
  /**
   * Releases a buffer.
   *
   * @param buffer the buffer.
   */
  void operator()(QNMemBuffer *buffer) const noexcept { fnQN_MemBuffer_Free(buffer); }
  /**
   * Releases a text.
   *
   * @param text one that was said to be "owned by the caller".
   */
  void operator()(char *text) const noexcept { fnQN_Free(&text); }
};

/** Owns a buffer; empty where the C interface gives NULL. */
using Buffer = std::unique_ptr<QNMemBuffer, Release>;
/** Owns a text of the library, such as fnQNStack_StrDup() gives. */
using Text = std::unique_ptr<char, Release>;

/** @} */

}  // namespace qnstack

#endif
