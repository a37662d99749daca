// SPDX-License-Identifier: MIT
// Settings once stood in the folder of the cache. They are moved to their own
// the first time that this is found.
#ifndef QNGET_TAKEOVER_H
#define QNGET_TAKEOVER_H

#include "store.h"

namespace qnget {

/**
 * Moves the settings of the old folder to the new one unless there are some, and
 * says so. Goes on with what was interrupted. Throws Failure where it cannot be
 * done: settings that may be there are never left out.
 */
void TakeOverSettings(const Folders &folders);

}  // namespace qnget

#endif
