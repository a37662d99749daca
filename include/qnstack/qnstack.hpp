// SPDX-License-Identifier: MIT
/**
 * @file qnstack.hpp
 * @brief The C++ face: handles that own, lists as containers, files and the
 *        cache as objects, strings and enums.
 *
 * For C++17 and later, in headers alone. Each function calls one of the C
 * interface, or is the loop around it that the C text describes, and the same
 * rules hold. Where a handle does a little more, its text says so. Every handle
 * gives the C pointer by `get()`; call what is not here as in C.
 *
 * Nothing here throws by itself, and a program may be built without exceptions.
 * A `std::string` throws when the heap refuses it; nothing leaks then.
 *
 * Include this header alone: how its parts are divided may change.
 */
#ifndef QNSTACK_QNSTACK_HPP
#define QNSTACK_QNSTACK_HPP

/** @cond */
#if (defined(_MSVC_LANG) ? _MSVC_LANG : __cplusplus) < 201703L
#error "qnstack.hpp needs C++17 or later: compile with -std=c++17 (MSVC: /std:c++17)."
#else
/** @endcond */

#include "qnstack/cpp/answer.hpp"
#include "qnstack/cpp/arguments.hpp"
#include "qnstack/cpp/buffer.hpp"
#include "qnstack/cpp/cache.hpp"
#include "qnstack/cpp/charset.hpp"
#include "qnstack/cpp/context.hpp"
#include "qnstack/cpp/handles.hpp"
#include "qnstack/cpp/list.hpp"
#include "qnstack/cpp/records.hpp"
#include "qnstack/cpp/settings.hpp"
#include "qnstack/cpp/stack.hpp"
#include "qnstack/qnstack.h"

/** The C++ face of the library. */
namespace qnstack {}

/** @cond */
#endif
/** @endcond */

#endif
