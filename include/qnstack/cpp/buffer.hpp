// SPDX-License-Identifier: MIT
/**
 * @file buffer.hpp
 * @brief Buffers, and the strings that go in and out of them. Included by
 *        qnstack.hpp.
 */
#ifndef QNSTACK_CPP_BUFFER_HPP
#define QNSTACK_CPP_BUFFER_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qnstack/cpp/arguments.hpp"
#include "qnstack/cpp/handles.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * Makes an empty buffer. What the header qn_stack_membuffer.h allows with the
 * record behind the handle, such as taking `data` over, holds here too.
 *
 * @param capacity as for fnQN_MemBuffer_New().
 * @return the buffer.
 */
[[nodiscard]] inline Buffer MakeBuffer(uint32_t capacity = 0) noexcept {
  return Buffer(fnQN_MemBuffer_New(capacity));
}

/**
 * Appends bytes to a buffer by fnQN_MemBuffer_Write().
 *
 * @param buffer the buffer; an empty handle appends nothing.
 * @param bytes what to append; of more than 2 GiB nothing is appended.
 */
inline void Append(Buffer &buffer, std::string_view bytes) noexcept {
  fnQN_MemBuffer_Write(buffer.get(), bytes.data(), detail::LengthOf(bytes.size()));
}

/**
 * The bytes of a buffer that have not been read; they stay unread.
 *
 * @param buffer the buffer, also one of a context; NULL has none.
 * @return a copy of them.
 */
[[nodiscard]] inline std::string Unread(const QNMemBuffer *buffer) {
  if (buffer == nullptr) return {};
  return {buffer->data + buffer->cursor, buffer->length - buffer->cursor};
}

/**
 * Takes one item off a buffer by fnQN_MemBuffer_ReadBySubstr().
 *
 * @param buffer the buffer.
 * @param delimiter the text behind the item.
 * @return the item; none where the C function gives NULL, and for a text that
 *         is refused.
 */
[[nodiscard]] inline std::optional<std::string> ReadItem(Buffer &buffer,
                                                         const Terminated &delimiter) {
  const Text item(fnQN_MemBuffer_ReadBySubstr(buffer.get(), delimiter.get()));
  if (item == nullptr) return std::nullopt;
  return std::string(item.get());
}

/** @} */

}  // namespace qnstack

#endif
