// SPDX-License-Identifier: MIT
#include "help.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <vector>

namespace qnget {
namespace {

constexpr size_t kWidth = 79;
constexpr size_t kColumn = 26;  // of the descriptions

// Takes so many words off the text as fit into a line, and at least one.
std::string_view TakeLine(std::string_view &text, size_t room) {
  size_t end = text.size();
  if (end > room) {
    end = text.rfind(' ', room);
    if (end == std::string_view::npos) end = std::min(text.find(' '), text.size());
  }
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

// "-o, --output FILE".
std::string Names(const CLI::Option &option) {
  if (option.get_positional()) return option.get_name(true, false);
  std::string names = option.get_name(false, true);
  if (const size_t comma = names.find(','); comma != std::string::npos)
    names.insert(comma + 1, " ");
  if (option.get_type_size() != 0) names += " " + option.get_type_name();
  return names;
}

// " (not with --cache, --raw)".
std::string Condition(const char *words, const std::set<CLI::Option *> &others) {
  std::set<std::string> names;
  for (const CLI::Option *other : others) names.insert(other->get_name());
  if (names.empty()) return {};
  return std::string(" (") + words + " " + CLI::detail::join(names, ", ") + ")";
}

std::string Usage(const CLI::App &command, const std::string &name) {
  std::string text = "Usage: " + name + " [OPTIONS]";
  for (const CLI::Option *argument : command.get_options()) {
    if (argument->get_positional()) text += " " + argument->get_name(true, false);
  }
  const bool commands_alone = command.get_require_subcommand_min() > 0;
  std::vector<std::string> names;
  for (const CLI::App *other : command.get_subcommands({})) names.push_back(other->get_name());
  if (names.empty()) return text + "\n";
  if (commands_alone) return text + " " + CLI::detail::join(names, "|") + "\n";
  return text + "\n   or: " + name + " [OPTIONS] " + CLI::detail::join(names, "|") + " COMMAND\n";
}

std::string Arguments(const CLI::App &command) {
  std::string text;
  for (const CLI::Option *option : command.get_options()) {
    if (option->get_positional()) text += HelpEntry(*option);
  }
  return text.empty() ? text : "\n" + text;
}

std::string Group(const CLI::App &command, const std::string &group) {
  std::string text;
  for (const CLI::Option *option : command.get_options()) {
    if (option->nonpositional() && option->get_group() == group) text += HelpEntry(*option);
  }
  return text.empty() ? text : "\n" + group + ":\n" + text;
}

std::string Commands(const CLI::App &command) {
  std::string text;
  for (const CLI::App *other : command.get_subcommands({})) {
    text += HelpEntry(other->get_name(), other->get_description());
  }
  return text.empty() ? text : "\nCommands:\n" + text;
}

}  // namespace

std::string HelpEntry(const std::string &name, const std::string &meaning) {
  std::string text = "  " + name;
  const bool fits = text.size() + 2 <= kColumn;
  text += fits ? std::string(kColumn - text.size(), ' ') : "\n" + std::string(kColumn, ' ');
  std::string_view rest = meaning;
  text += TakeLine(rest, kWidth - kColumn);
  while (!rest.empty()) {
    text += "\n" + std::string(kColumn, ' ');
    text += TakeLine(rest, kWidth - kColumn);
  }
  return text + "\n";
}

std::string HelpEntry(const CLI::Option &option) {
  return HelpEntry(Names(option), option.get_description() +
                                      Condition("only with", option.get_needs()) +
                                      Condition("not with", option.get_excludes()));
}

std::string HelpText(const CLI::App &command, const std::string &name) {
  std::string text = command.get_description() + "\n\n" + Usage(command, name) + Arguments(command);
  std::vector<std::string> groups = command.get_groups();
  // The first one is that of --help, which matters least.
  std::rotate(groups.begin(), groups.begin() + 1, groups.end());
  for (const std::string &group : groups) text += Group(command, group);
  text += Commands(command);
  const std::string footer = command.get_footer();
  return footer.empty() ? text : text + "\n" + footer + "\n";
}

}  // namespace qnget
