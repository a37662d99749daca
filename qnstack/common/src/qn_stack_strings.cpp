// SPDX-License-Identifier: MIT
// String copies for the HTTP client and for applications.
#include "qnstack/qn_stack_strings.h"

#include "qn_owned.h"

char *fnQN_StrDup(const char *string) { return string == nullptr ? nullptr : qn::CopyText(string); }
