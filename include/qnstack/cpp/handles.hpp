// SPDX-License-Identifier: MIT
/**
 * @file handles.hpp
 * @brief Handles that own buffers and texts of the library. Included by
 *        qnstack.hpp.
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

/** Releases contexts, buffers and texts, each by its own function of the C interface. */
struct Release {
  /**
   * Releases a context. A complete one still has the number of a slot that was
   * closed with the connection. That number is cleared first, as another context
   * may have the slot by now.
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

/**
 * Owns a buffer; empty where the C interface gives NULL.
 *
 * To keep the bytes without the buffer, take its `data` and set `data` to NULL
 * and `length`, `cursor` and `total` to 0. The bytes are then released with
 * fnQN_Free(), and the buffer can be used again or released.
 */
using Buffer = std::unique_ptr<QNMemBuffer, Release>;
/** Owns a text of the library, such as fnQNStack_StrDup() gives. */
using Text = std::unique_ptr<char, Release>;

/** @} */

}  // namespace qnstack

#endif
