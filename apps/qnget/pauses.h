// SPDX-License-Identifier: MIT
// How long to wait before asking again.
#ifndef QNGET_PAUSES_H
#define QNGET_PAUSES_H

#include <cstdint>
#include <optional>

#include "answer_head.h"

namespace qnget {

/**
 * The seconds that a "Retry-After" asks to wait; negative for a date that is
 * over. A date counts from the answer's own "Date", or else from `now`, a Unix
 * time. Nothing if there is none that can be read.
 */
std::optional<double> AnnouncedWait(const AnswerHead &head, int64_t now);

/** The pause behind one in a row that doubles, up to 30 seconds or a longer first one. */
double PauseBehind(double pause);

}  // namespace qnget

#endif
