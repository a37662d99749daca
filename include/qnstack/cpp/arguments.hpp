// SPDX-License-Identifier: MIT
/**
 * @file arguments.hpp
 * @brief Arguments: texts with the terminator that C needs, and lengths in the
 *        type that C takes. Included by qnstack.hpp.
 */
#ifndef QNSTACK_CPP_ARGUMENTS_HPP
#define QNSTACK_CPP_ARGUMENTS_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "qnstack/cpp/handles.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/** @cond */
namespace detail {

// A length as the C interface takes it; -1 for one that it cannot express.
constexpr int32_t LengthOf(std::size_t size) noexcept {
  constexpr std::size_t kMost = std::numeric_limits<int32_t>::max();
  return size <= kMost ? static_cast<int32_t>(size) : -1;
}

// False for a text with a zero byte: C would take it for a shorter one.
inline bool IsOneString(std::string_view text) noexcept {
  return text.find('\0') == std::string_view::npos;
}

// Empty where the text cannot be a C string, or the heap refuses.
inline Text CopyOf(std::string_view text) noexcept {
  if (detail::LengthOf(text.size()) < 0 || !IsOneString(text)) return nullptr;
  const auto bytes = static_cast<uint32_t>(text.size()) + 1;
  Text copy(static_cast<char *>(fnQN_Malloc_Local(bytes, __FILE__, __LINE__)));
  if (copy != nullptr && !text.empty()) std::memcpy(copy.get(), text.data(), text.size());
  return copy;
}

}  // namespace detail
/** @endcond */

/**
 * A text as an argument: a C string, a `std::string` or a `std::string_view`. Use
 * it for parameters only, as it refers to the text it was made of.
 *
 * A view has no terminator, so it is copied, on the library's heap. A string or
 * a view with a zero byte in it is refused rather than cut, and so is a view
 * that the heap has no room for; a function that gets such a text does nothing
 * and says so by its result.
 */
class Terminated {
 public:
  /**
   * A C string.
   *
   * @param text the string; NULL means what it means in C.
   */
  Terminated(const char *text) noexcept : text_(text) {}
  /**
   * A string, which is not copied.
   *
   * @param text the string; refused with a zero byte in it.
   */
  Terminated(const std::string &text) noexcept
      : text_(detail::IsOneString(text) ? text.c_str() : nullptr), refused_(text_ == nullptr) {}
  /**
   * A view, which is copied.
   *
   * @param text the view; refused with a zero byte in it.
   */
  Terminated(std::string_view text) noexcept
      : copy_(detail::CopyOf(text)), text_(copy_.get()), refused_(text_ == nullptr) {}
  Terminated(const Terminated &) = delete;
  Terminated &operator=(const Terminated &) = delete;
  ~Terminated() = default;

  /** @return the C string; NULL for NULL and for a text that is refused. */
  [[nodiscard]] const char *get() const noexcept { return text_; }
  /** @return whether the text cannot be handed on. */
  [[nodiscard]] bool IsRefused() const noexcept { return refused_; }

 private:
  Text copy_;
  const char *text_;
  bool refused_ = false;
};

/** @} */

}  // namespace qnstack

#endif
