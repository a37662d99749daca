// SPDX-License-Identifier: MIT
// A C++17 program of a user, on the C++ face and without exceptions: all of the
// face is made to compile. The library here touches no file, so nothing is kept.
// Exit code 0 when all is as promised.
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "qnstack/qnstack.hpp"

namespace {

bool TextIsKept() {
  auto buffer = qnstack::MakeBuffer(16);
  qnstack::Append(buffer, "first;second");
  auto moved = std::move(buffer);
  const bool taken = qnstack::ReadItem(moved, ";") == "first";
  return taken && qnstack::Unread(moved.get()) == "second" && buffer == nullptr;
}

std::string Joined(const qnstack::Range<const char> &texts) {
  std::string joined;
  for (const char &text : texts) joined += &text;
  return joined;
}

bool ListsAreContainers() {
  qnstack::List<char> texts;
  texts.push_back(fnQNStack_StrDup("b"));
  texts.push_back(fnQNStack_StrDup("c"));
  texts.push_front(fnQNStack_StrDup("a"));
  qnstack::List<char> other;
  other = std::move(texts);
  other.erase(other.cbegin());
  swap(texts, other);
  const qnstack::List<char>::const_iterator last = --texts.end();
  const bool filled = texts.size() == 2 && texts.front() == 'b' && texts.back() == *last;
  const bool seen = Joined(qnstack::Range<const char>(texts.get())) == "bc";
  texts.pop_front();
  texts.pop_back();
  return filled && seen && texts.empty() && other.begin() == other.cend();
}

bool SettingsAreKept() {
  qnstack::Settings settings("/none");
  settings.Set("key", "value");
  settings.Set(std::string("other"), std::string_view("text"));
  const bool unset = settings.Unset("other") && !settings.Unset("other");
  for (const QNFSIniEntry &entry : settings) {
    if (qnstack::SettingOf(settings, entry.key) != settings.Value("key")) return false;
  }
  return unset && settings.size() == 1 && settings.Value("key") == "value" && !settings.Save();
}

struct Notice {
  std::string subject;
};

struct NoticeFormat {
  static void Write(QNFSBuffer *fields, const Notice &notice) {
    fnQNFS_Buffer_WriteLine(fields, notice.subject.c_str());
  }
  static std::optional<Notice> Read(QNFSBuffer *fields) {
    const qnstack::Text subject(fnQNFS_Buffer_ReadString(fields));
    if (subject == nullptr) return std::nullopt;
    return Notice{subject.get()};
  }
};

bool RecordsAreKept() {
  qnstack::Records<Notice, NoticeFormat> notices("/none");
  notices.push_back(Notice{"second"});
  notices.push_front(Notice{"first"});
  auto moved = std::move(notices);
  moved.erase(moved.begin());
  return moved.size() == 1 && moved.front().subject == "second" && !moved.Save();
}

bool CacheIsAsked() {
  qnstack::Cache cache;
  cache.StartAnswer();
  cache.TakeHeaderLine("Cache-Control: max-age=60");
  const std::optional<int32_t> expires = cache.Expires();
  const bool saved = expires.has_value() && cache.Save("http://h/", "body", *expires);
  const QNCacheEntry unknown = {};
  return expires.has_value() && !saved && cache.FindFresh("http://h/") == nullptr &&
         cache.Find("http://h/") == nullptr && cache.entries().empty() && !cache.Body(unknown) &&
         !cache.Clear();
}

bool StackIsStarted() {
  qnstack::Stack stack;
  const bool set = stack.SetProxy("192.0.2.1", 8080) && stack.SetHeader("Accept", "*/*");
  stack.ClearProxy();
  return stack.IsStarted() && set && fnQNStack_Have_Proxy() == 0;
}

bool RequestsAreOpened() {
  const std::string url = "http://h/";
  const std::string body = "body";
  const auto contexts = {qnstack::OpenGet(url).get() != nullptr,
                         qnstack::OpenHead(std::string_view(url)).get() != nullptr,
                         qnstack::OpenPost(url, body, "text/plain").get() != nullptr,
                         qnstack::OpenPost(url, "body").get() != nullptr,
                         qnstack::OpenPut("http://h/", body).get() != nullptr,
                         qnstack::OpenConnect("h", 443).get() != nullptr};
  for (const bool opened : contexts) {
    if (!opened) return false;
  }
  return qnstack::StateOf(qnstack::OpenGet(url)) == qnstack::State::kNew;
}

bool NothingIsRead() {
  qnstack::Context none;
  std::string text;
  qnstack::Stop(none);
  return qnstack::ReadHead(none) == qnstack::Result::kFailed &&
         qnstack::ReadBody(none, text) == qnstack::Result::kFailed &&
         qnstack::ReadAnswer(none, text, 10) == qnstack::Result::kFailed &&
         !qnstack::BodyLength(none) && qnstack::StateOf(none) == qnstack::State::kNone &&
         text.empty();
}

bool TextIsConverted() {
  return qnstack::Decode(QN_CHARSET_LATIN1, "\xE9") == "\xC3\xA9" &&
         !qnstack::Decode(QN_CHARSET_LATIN1, "").has_value() &&
         qnstack::Utf8FromBigEndianUcs2("\x4E\x2D") == "\xE4\xB8\xAD" &&
         qnstack::Utf8FromLittleEndianUcs2("\x2D\x4E") == "\xE4\xB8\xAD" &&
         qnstack::Utf8FromUcs2(u"\u4e2d") == "\xE4\xB8\xAD" &&
         qnstack::Utf8FromUcs4(U"\u4e2d") == "\xE4\xB8\xAD" &&
         qnstack::Ucs2FromUtf8("\xE4\xB8\xAD") == u"\u4e2d" &&
         qnstack::Ucs4FromUtf16("\x4E\x2D") == U"\u4e2d";
}

}  // namespace

int main() {
  return TextIsKept() && ListsAreContainers() && SettingsAreKept() && RecordsAreKept() &&
                 CacheIsAsked() && StackIsStarted() && RequestsAreOpened() && NothingIsRead() &&
                 TextIsConverted()
             ? 0
             : 1;
}
