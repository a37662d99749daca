// SPDX-License-Identifier: MIT
// Where an answer sends the one who asked, and with what.
#ifndef QNGET_REDIRECT_H
#define QNGET_REDIRECT_H

#include <optional>

#include "answer_head.h"
#include "request.h"

namespace qnget {

/**
 * The request that a redirect asks for; nothing if the answer is final. A status
 * of 301, 302 or 303 makes a GET of a POST, 303 of a PUT too. Throws Failure for
 * a target that cannot be asked.
 */
std::optional<Request> FollowingRequest(const Request &request, const AnswerHead &head);

}  // namespace qnget

#endif
