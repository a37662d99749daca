// SPDX-License-Identifier: MIT
// CLI11 does the reading. What can be a setting is read as text and put in its
// place when the settings are known.
#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <map>

#include "checks.h"
#include "failure.h"
#include "help.h"
#include "proxy_environment.h"
#include "qnstack/qn_version.h"
#include "remote_name.h"
#include "request.h"
#include "settings.h"
#include "signals.h"
#include "text.h"
#include "url.h"
#include "visible.h"

namespace qnget {
namespace {

constexpr int kMostRetries = 20;
constexpr double kLongestDelay = 3600;
constexpr size_t kLongestOperator = 100;

constexpr const char *kFooter =
    "A word 'config' in the place of the URL is the command; ask for a server of\n"
    "that name by http://config/. 'qnget config set --help' lists what can be set.\n"
    "A FILE that is given with -o appears only when the answer is complete.\n\n"
    "Examples:\n"
    "  qnget -i -o message.mms -p 127.0.0.1:8080 'http://mmsc.example/message?id=1'\n"
    "  qnget --data message.mms --content-type application/vnd.wap.mms-message \\\n"
    "      http://mmsc.example/\n\n"
    "Exit codes:\n"
    "  0   success\n"
    "  1   wrong usage, a --data file that cannot be read, or a setting that is not\n"
    "      set\n"
    "  2   the name of the server or the proxy did not resolve\n"
    "  3   no connection, or sending failed\n"
    "  4   receiving failed, the answer is incomplete, or the time was up\n"
    "  5   more than 10 redirects\n"
    "  6   the output, the trace file, the settings or the emptied cache could not be\n"
    "      written, or settings could not be read\n"
    "  7   a redirect to https, which qnget does not speak\n"
    "  22  the answer's status is 400 or above (without --fail its body is delivered\n"
    "      all the same)";

constexpr const char *kConfigFooter =
    "What is set stands in for an option that is not given. The options --root and\n"
    "--operator of qnget go with these commands; see qnget --help.";

std::string VersionText() {
  return "qnget " + std::to_string(QNSTACK_VERSION_MAJOR) + "." +
         std::to_string(QNSTACK_VERSION_MINOR) + "." + std::to_string(QNSTACK_VERSION_PATCH);
}

// A range that a value which is no number does not pass.
CLI::Validator Between(double low, double high, const std::string &words) {
  return {[low, high, words](std::string &text) -> std::string {
            double value = 0;
            const bool number = CLI::detail::lexical_cast(text, value);
            return number && value >= low && value <= high ? "" : "not " + words + ": " + text;
          },
          ""};
}

// What is read by CLI11 and put in its place afterwards.
struct Raw {
  // By its key as a setting: what was given or set. Empty is as good as none, but
  // was said.
  std::map<std::string, std::string> settable;
  std::vector<std::string> header_lines;
  std::string root;
  std::string data;
  std::string content_type;
  bool no_proxy = false;
  bool remote_name = false;
  bool list_cache = false;
  bool clear_cache = false;
};

std::string CheckOperator(const std::string &name) {
  const bool plain = std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_';
  });
  if (plain && !name.empty() && name.size() <= kLongestOperator) return {};
  return "not up to 100 letters, digits, '-' and '_': " + name;
}

std::string CheckNotEmpty(const std::string &text) { return text.empty() ? "it is empty" : ""; }

// An option that can be a setting of the same name.
void AddSettable(CLI::App &app, Raw &raw, const std::string &names, const char *key,
                 const char *help, const char *type) {
  app.add_option(names, raw.settable[key], help)
      ->check(CLI::Validator(
          [kind = FindSettingKind(key)](const std::string &value) {
            return ProblemOfSetting(*kind, value);
          },
          ""))
      ->type_name(type);
}

void AddRequestOptions(CLI::App &app, Options &options, Raw &raw) {
  app.option_defaults()->group("Request");
  app.add_option("URL", options.url, "What to ask for, as in http://host:port/path")
      ->check(CLI::Validator(ProblemOfUrl, ""));
  app.add_option("-X,--method", options.method,
                 "GET, HEAD, POST or PUT (default: GET, with --data POST)")
      ->check(CLI::IsMember({"GET", "HEAD", "POST", "PUT"}).description(""))
      ->type_name("METHOD");
  AddSettable(
      app, raw, "-p,--proxy", "proxy",
      "Ask through the gateway at HOST:PORT or http://HOST:PORT; an empty text is none (default: "
      "$http_proxy, but for hosts in $no_proxy)",
      "HOST:PORT");
  app.add_flag("--no-proxy", raw.no_proxy, "Ask the server itself, whatever else names a proxy")
      ->excludes("--proxy");
  app.add_option("--data", raw.data, "Send FILE as the request body; - is standard input")
      ->type_name("FILE");
  app.add_option("--content-type", raw.content_type,
                 "Media type of the body (default: application/x-www-form-urlencoded)")
      ->check(CLI::Validator(CheckContentType, ""))
      ->needs("--data")
      ->type_name("TYPE");
  AddSettable(app, raw, "--user-agent", "user-agent",
              "The User-Agent header (default: a handset's, MRV-WIN K415)", "TEXT");
  AddSettable(app, raw, "--profile", "profile",
              "The Profile header: URL of the handset's profile (default: that of the MRV-K415)",
              "URL");
  AddSettable(app, raw, "--accept", "accept",
              "The Accept header (default: */*,application/vnd.wap.mms-message,text/html)",
              "TYPES");
  AddSettable(app, raw, "--accept-language", "accept-language",
              "The Accept-Language header (default: en)", "LANGUAGES");
}

void AddHeaderOption(CLI::App &app, Raw &raw) {
  app.add_option("-H,--header", raw.header_lines,
                 "Send this header field too; may be repeated. Accept, User-Agent, Profile, "
                 "Accept-Language and the Content-Type of --data are replaced, the first four "
                 "left out by NAME: alone. Refused is what the library decides itself: Host, "
                 "Content-Length, Transfer-Encoding, Expect, Cookie2, Connection, "
                 "Proxy-Connection, Keep-Alive, TE, Trailer, Upgrade. Authorization and Cookie "
                 "go to no other server than the URL's")
      ->allow_extra_args(false)
      ->check(CLI::Validator(CheckHeaderLine, ""))
      ->type_name("NAME:VALUE");
}

void AddOutputOptions(CLI::App &app, Options &options, Raw &raw) {
  app.option_defaults()->group("Output");
  app.add_option("-o,--output", options.output,
                 "Write the body to FILE, complete or not at all; - is standard output, also for "
                 "binary bytes on a terminal (default: standard output)")
      ->type_name("FILE");
  app.add_flag("-O,--remote-name", raw.remote_name,
               "Write the body to a file of the name that the URL ends in, in the working folder")
      ->excludes("--output");
  app.add_flag("-f,--fail", options.fail,
               "Deliver no body of an answer whose status is 400 or above");
  app.add_flag("-s,--silent", options.silent, "Show no progress; errors are told all the same");
  app.add_flag("-i,--info", options.info,
               "Print status, media type, length, encoding and final URL on standard error");
  app.add_flag("--raw", options.raw,
               "Deliver the answer as it comes, with its header, up to its end by that header or "
               "else by its connection; follow no redirect");
  app.add_flag("-v,--verbose", options.verbose,
               "Show requests and the header of every answer on standard error");
  app.add_option("--charset", options.charset,
                 "Decode a text body to UTF-8 from the character set MIBENUM; there are " +
                     KnownCharsets() + " (default: as it comes)")
      ->check(CLI::Validator(CheckCharset, ""))
      ->type_name("MIBENUM");
  app.add_option("--trace", options.trace,
                 "Keep the library's trace lines in FILE; - is standard error (default: nowhere)")
      ->type_name("FILE");
}

void AddPatienceOptions(CLI::App &app, Options &options, Raw &raw) {
  app.option_defaults()->group("Time and retries");
  AddSettable(app, raw, "--timeout", "timeout",
              "Give up after SECONDS for everything, retries included (default: never)", "SECONDS");
  app.add_option(
         "--retry", options.retries,
         "Try GET and HEAD up to N times more where no status came, after pauses that "
         "double up to 30 seconds; POST and PUT only where nobody was connected, as a "
         "message that may have arrived would be billed twice. A server that refuses by 503 "
         "or 429 and says Retry-After is waited for, whatever the method, within --timeout "
         "or else an hour (default: 0)")
      ->check(Between(0, kMostRetries, "from 0 to 20 times"))
      ->type_name("N");
  app.add_flag("--retry-all", options.retry_all,
               "Try POST and PUT again like GET, though the first may have arrived")
      ->needs("--retry");
  app.add_option("--retry-delay", options.retry_delay,
                 "The first of the doubling pauses (default: 1)")
      ->check(Between(0, kLongestDelay, "from 0 to 3600 seconds"))
      ->type_name("SECONDS");
}

void AddStoreOptions(CLI::App &app, Options &options, Raw &raw) {
  app.option_defaults()->group("Cache and settings");
  app.add_flag("--cache", options.cache,
               "Deliver a fresh answer from the cache, and keep what may be kept; GET alone");
  app.add_flag("--refresh", options.refresh,
               "Ask anew, as with --cache, and replace what the cache has");
  app.add_flag("--cache-list", raw.list_cache, "Print what the cache holds")
      ->excludes("--cache", "--refresh");
  app.add_flag("--cache-clear", raw.clear_cache, "Empty the cache")
      ->excludes("--cache", "--refresh", "--cache-list");
  app.add_option("--root", raw.root,
                 "Folder of settings and cache (default: qnget in $XDG_CONFIG_HOME or ~/.config, "
                 "and in $XDG_CACHE_HOME or ~/.cache)")
      ->check(CLI::Validator(CheckNotEmpty, ""))
      ->type_name("DIR");
  app.add_option("--operator", options.operator_name,
                 "Let the settings of this NAME go before the general ones")
      ->check(CLI::Validator(CheckOperator, ""))
      ->type_name("NAME");
}

std::string CheckKey(const std::string &key) {
  if (FindSettingKind(key) != nullptr) return {};
  std::string known;
  for (const SettingKind &kind : SettingKinds()) known += std::string(" ") + kind.key;
  return "no setting '" + key + "'; there are" + known;
}

std::string KeysHelp(CLI::App &app) {
  std::string text = "Keys, each the name of an option:\n";
  for (const SettingKind &kind : SettingKinds()) {
    const CLI::Option *option = app.get_option(std::string("--") + kind.key);
    text += HelpEntry(kind.key, option->get_description());
  }
  return text + "\n" + kConfigFooter;
}

void AddConfigCommands(CLI::App &app, Options &options) {
  CLI::App *config = app.add_subcommand("config", "Keep defaults for options in the settings");
  config->fallthrough()->require_subcommand(1)->footer(kConfigFooter);
  const auto add = [&](const char *name, const char *help, Task task) {
    CLI::App *command = config->add_subcommand(name, help);
    command->fallthrough()->callback([&options, task] { options.task = task; });
    if (task != Task::kListSettings) {
      command->add_option("KEY", options.key, "The option's name without its dashes")
          ->required()
          ->check(CLI::Validator(CheckKey, ""));
    }
    return command;
  };
  add("set", "Set a default", Task::kSetSetting)
      ->footer(KeysHelp(app))
      ->add_option("VALUE", options.value, "What the option would be given")
      ->required();
  add("get", "Print one setting", Task::kGetSetting);
  add("list", "Print all settings", Task::kListSettings);
  add("unset", "Remove a setting", Task::kUnsetSetting);
}

// The settings stand in for what is not given, and are checked like it.
void ReadSettings(const CLI::App &app, const Options &options, Raw &raw) {
  const auto settings = SettingsInForce(options.folders, options.operator_name);
  for (const SettingKind &kind : SettingKinds()) {
    const std::string key = kind.key;
    if (app.count("--" + key) > 0) continue;
    const auto found = settings.find(key);
    if (found == settings.end()) {
      raw.settable.erase(key);
      continue;
    }
    const std::string problem = ProblemOfSetting(kind, found->second);
    if (!problem.empty()) throw Failure(kUsage, "setting " + key + ": " + Visible(problem));
    raw.settable[key] = found->second;
  }
}

std::string SaidOf(const Raw &raw, const char *key) {
  const auto said = raw.settable.find(key);
  return said == raw.settable.end() ? "" : said->second;
}

double TimeoutIn(const Raw &raw) {
  const std::string said = SaidOf(raw, "timeout");
  double seconds = 0;
  if (!said.empty()) CLI::detail::lexical_cast(said, seconds);
  return seconds;
}

// The time that an option gives counts for reading the settings too.
void StartGivenDeadline(const Raw &raw) {
  const double seconds = TimeoutIn(raw);
  if (seconds > 0) StartDeadline(seconds);
}

// The library writes the media type of a body by itself, from what it is told.
void FillInHeaderLines(const Raw &raw, Options &options) {
  for (const std::string &line : raw.header_lines) {
    const HeaderField field = ReadHeaderLine(line);
    if (options.data && EqualIgnoringCase(field.name, "Content-Type")) {
      const std::string problem = CheckContentType(field.value);
      if (!problem.empty()) throw Failure(kUsage, "Content-Type: " + problem);
      options.content_type = field.value;
    } else {
      options.header_lines.push_back(field);
    }
  }
}

void FillIn(const CLI::App &app, const Raw &raw, Options &options) {
  const auto header = [&](const char *key, const char *name) {
    const std::string value = SaidOf(raw, key);
    if (!value.empty()) options.headers.emplace_back(name, value);
  };
  header("accept", "Accept");
  header("user-agent", "User-Agent");
  header("profile", "Profile");
  header("accept-language", "Accept-Language");
  options.timeout = TimeoutIn(raw);
  if (app.count("--data") > 0) options.data = raw.data;
  if (app.count("--content-type") > 0) options.content_type = raw.content_type;
  FillInHeaderLines(raw, options);
  options.url = ReadUrl(options.url).url.Text();
  if (options.method.empty()) options.method = options.data ? "POST" : "GET";
  if (raw.remote_name && app.count("URL") > 0) options.output = RemoteName(options.url);
}

// An empty text is a choice too.
void ChooseProxy(const Raw &raw, Options &options) {
  if (raw.no_proxy) return;
  const auto chosen = raw.settable.find("proxy");
  if (chosen == raw.settable.end()) return TakeProxyFromEnvironment(options);
  options.proxy = ReadProxy(chosen->second);
}

void CheckTransfer(const CLI::App &app, const Options &options) {
  if (app.count("URL") == 0) throw Failure(kUsage, "URL is required (see qnget --help)");
  if (options.data && (options.method == "GET" || options.method == "HEAD")) {
    throw Failure(kUsage, "--data goes with POST or PUT, not with " + options.method);
  }
  if (options.cache && (options.raw || options.method != "GET")) {
    throw Failure(kUsage, "--cache goes with GET alone, and not with --raw");
  }
  const bool more_to_come = options.method == "POST" || options.method == "PUT" || options.refresh;
  const std::string problem = ProblemOfFields(RequestFields(options), more_to_come);
  if (!problem.empty()) throw Failure(kUsage, "-H: " + problem);
  if (options.charset && options.raw) {
    throw Failure(kUsage, "--charset decodes a body, not a --raw answer");
  }
  if (options.fail && options.raw) {
    throw Failure(kUsage, "--fail goes by a status, which nobody reads in a --raw answer");
  }
}

void CheckStoreTask(const CLI::App &app, const Options &options) {
  if (app.count("URL") > 0) {
    throw Failure(kUsage, "no URL goes with config, --cache-list and --cache-clear");
  }
  if (options.task != Task::kSetSetting) return;
  const std::string problem = ProblemOfSetting(*FindSettingKind(options.key), options.value);
  if (!problem.empty()) throw Failure(kUsage, options.key + ": " + problem);
}

void FindTask(const CLI::App &app, const Raw &raw, Options &options) {
  const bool config = app.got_subcommand("config");
  if (options.refresh) options.cache = true;
  if (config && (raw.list_cache || raw.clear_cache || options.cache)) {
    throw Failure(kUsage, "config does not go with the cache's options");
  }
  if (raw.list_cache) options.task = Task::kListCache;
  if (raw.clear_cache) options.task = Task::kClearCache;
}

// The words after the program's name, the last one first. CLI11 would take the
// word after "--name=" for its value, which is empty.
std::vector<std::string> Words(int argc, const char *const *argv) {
  std::vector<std::string> words;
  for (int i = argc - 1; i > 0; --i) {
    const std::string word = argv[i];
    const bool empty_value = word.starts_with("--") && word.find('=') + 1 == word.size();
    if (empty_value) words.emplace_back();
    words.push_back(empty_value ? word.substr(0, word.size() - 1) : word);
  }
  return words;
}

void Print(const std::string &text) {
  std::cout << text << std::flush;
  if (!std::cout) throw Failure(kNotWritten, "could not write standard output");
}

}  // namespace

std::optional<Options> ParseOptions(int argc, const char *const *argv) {
  CLI::App app("Fetches or sends a message over HTTP/1.0, as a handset does.", "qnget");
  Options options;
  Raw raw;
  app.set_help_flag("-h,--help", "Print this help")->group("Help");
  app.set_version_flag("--version", VersionText(), "Print the version")->group("Help");
  app.formatter_fn([](const CLI::App *command, const std::string &name, CLI::AppFormatMode) {
    return HelpText(*command, name);
  });
  app.footer(kFooter);
  AddRequestOptions(app, options, raw);
  AddHeaderOption(app, raw);
  AddOutputOptions(app, options, raw);
  AddPatienceOptions(app, options, raw);
  AddStoreOptions(app, options, raw);
  AddConfigCommands(app, options);
  try {
    app.parse(Words(argc, argv));
  } catch (const CLI::CallForHelp &) {
    Print(app.help());
    return {};
  } catch (const CLI::CallForVersion &version) {
    Print(version.what() + std::string("\n"));
    return {};
  } catch (const CLI::ParseError &error) {
    throw Failure(kUsage, error.what() + std::string(" (see qnget --help)"));
  }
  FindTask(app, raw, options);
  StartGivenDeadline(raw);
  options.folders = FoldersBelow(raw.root);
  if (options.task != Task::kTransfer) {
    CheckStoreTask(app, options);
    return options;
  }
  if (app.count("URL") > 0) ReadSettings(app, options, raw);
  FillIn(app, raw, options);
  CheckTransfer(app, options);
  ChooseProxy(raw, options);
  return options;
}

}  // namespace qnget
