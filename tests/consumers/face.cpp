// A C++17 program of a user, on the C++ face and without exceptions: all of the
// face is made to compile. Exit code 0 when all is as promised.
#include <string>
#include <utility>

#include "qnstack/qnstack.hpp"

namespace {

bool TextIsKept() {
  auto buffer = qnstack::MakeBuffer(16);
  qnstack::Append(buffer, "first;second");
  const auto moved = std::move(buffer);
  const bool taken = qnstack::ReadItem(moved, ";") == "first";
  return taken && qnstack::Unread(moved.get()) == "second" && buffer == nullptr;
}

bool ListsAreWalked() {
  qnstack::List<char> texts;
  fnQNList_AddTail(texts.get(), fnQNStack_StrDup("a"));
  fnQNList_AddTail(texts.get(), fnQNStack_StrDup("b"));
  qnstack::List<char> other;
  other = std::move(texts);
  std::string joined;
  for (const char &text : other) joined += &text;
  for (const char &text : qnstack::Range<const char>(other.get())) joined += &text;
  return joined == "abab" && texts.begin() == texts.end();
}

bool SettingsAreRead() {
  qnstack::Settings settings = qnstack::LoadSettings("/none");
  fnQNFS_INI_WriteRAM(settings.get(), "key", "value");
  return qnstack::SettingOf(settings, "key") == "value" &&
         !qnstack::SettingOf(settings, "other").has_value();
}

bool RequestsAreOpened() {
  const std::string body = "body";
  const auto contexts = {qnstack::OpenGet("http://h/").get() != nullptr,
                         qnstack::OpenHead("http://h/").get() != nullptr,
                         qnstack::OpenPost("http://h/", body, "text/plain").get() != nullptr,
                         qnstack::OpenPut("http://h/", body).get() != nullptr,
                         qnstack::OpenConnect("h", 443).get() != nullptr};
  for (const bool opened : contexts) {
    if (!opened) return false;
  }
  return qnstack::StateOf(qnstack::OpenGet("http://h/")) == qnstack::State::kNew;
}

bool NothingIsRead() {
  const qnstack::Context none;
  std::string text;
  return qnstack::ReadBody(none, text) == qnstack::Result::kFailed &&
         qnstack::ReadAnswer(none, text, 10) == qnstack::Result::kFailed &&
         qnstack::StateOf(none) == qnstack::State::kNone && text.empty();
}

bool TextIsDecoded() {
  return qnstack::Decode(QN_CHARSET_LATIN1, "\xE9") == "\xC3\xA9" &&
         !qnstack::Decode(QN_CHARSET_LATIN1, "").has_value();
}

}  // namespace

int main() {
  return TextIsKept() && ListsAreWalked() && SettingsAreRead() && RequestsAreOpened() &&
                 NothingIsRead() && TextIsDecoded()
             ? 0
             : 1;
}
