// SPDX-License-Identifier: MIT
// How qnget lays out its help: within 80 columns, the descriptions in a column
// of their own.
#ifndef QNGET_HELP_H
#define QNGET_HELP_H

#include <CLI/CLI.hpp>
#include <string>

namespace qnget {

/** A name and what it means, with the line end. */
std::string HelpEntry(const std::string &name, const std::string &meaning);

/** The names and what is said about an option, as HelpEntry(). */
std::string HelpEntry(const CLI::Option &option);

/** The help of a command; `name` is its name with those of the commands above. */
std::string HelpText(const CLI::App &command, const std::string &name);

}  // namespace qnget

#endif
