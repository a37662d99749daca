// SPDX-License-Identifier: MIT
// The files of settings in their folder: their names, and whether they can be
// read. The library reports neither, so qnget looks for itself.
#ifndef QNGET_SETTINGS_FILE_H
#define QNGET_SETTINGS_FILE_H

#include <string>
#include <vector>

#include "store.h"

namespace qnget {

/** The name below the root of an operator's settings, or of the general ones for an empty name. */
std::string SettingsFile(const std::string &operator_name);

/** What an interrupted save leaves beside a file; loading puts it in the file's place. */
std::string BackupOf(const std::string &file);

/**
 * The names below the root of all files of settings in a folder, backups among
 * them, sorted; none where there is no such folder. Throws Failure where that
 * cannot be known.
 */
std::vector<std::string> SettingsFilesIn(const std::string &folder);

/**
 * Whether anything has that name below the store's root, and be it a link that
 * leads nowhere. Throws Failure where that cannot be known.
 */
bool IsThere(const Store &store, const std::string &file);

/** The whole content of a file of the store in use. Throws Failure where it cannot be read. */
std::string ReadWholeFile(const Store &store, const std::string &file);

}  // namespace qnget

#endif
