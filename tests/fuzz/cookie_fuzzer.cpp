// SPDX-License-Identifier: MIT
// The cookie jar: cookies set by hand and by answers, and the lines that a
// request to a host gets, against a plain list of cookies.
//
// Input: from the end backwards, what each step does and which of its texts
// are missing; texts come from the front, each ended by a backslash and
// another character.

#include <algorithm>
#include <deque>
#include <optional>
#include <string>

#include "fuzz/fuzzer.h"
#include "qn_stack_http_cookie_internal.h"
#include "qnstack/qn_stack_http.h"
#include "qnstack/qn_stack_http_cookie.h"
#include "support/buffer.h"
#include "support/http_stack.h"

namespace {

using Text = std::optional<std::string>;

constexpr int kMostSteps = 120;
constexpr std::size_t kMostCookies = 50;
constexpr std::size_t kLongestPiece = 2047;
constexpr const char *kHosts[] = {"a.test", "b.test", "A.test", ""};

struct Cookie {
  Text name;
  Text value;
  Text domain;
  Text path;
};

std::string Shown(const Text &text) { return text.value_or("(null)"); }

const char *Pointer(const Text &text) { return text ? text->c_str() : nullptr; }

bool IsText(const char *stored, const Text &text) {
  return text ? stored != nullptr && *text == stored : stored == nullptr;
}

bool Differ(const Text &a, const Text &b) { return !a || !b || *a != *b; }

bool HoldsControl(const std::string &text) {
  return std::any_of(text.begin(), text.end(),
                     [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

class JarAndModel {
 public:
  JarAndModel() { fnQNStack_Http_Cookie_FreeAll(); }
  ~JarAndModel() { fnQNStack_Http_Cookie_FreeAll(); }
  JarAndModel(const JarAndModel &) = delete;
  JarAndModel &operator=(const JarAndModel &) = delete;

  void Set(const Cookie &cookie) {
    fnQNStack_Http_Cookie_Set(Pointer(cookie.name), Pointer(cookie.value), Pointer(cookie.domain),
                              Pointer(cookie.path));
    SetInModel(cookie);
  }

  // The line of an answer from that host.
  void Receive(const std::string &host, const std::string &value) {
    const qntest::Context ctx(fnQNStack_Http_Open_Get(("http://" + host + "/").c_str()));
    const std::string name = value.size() % 2 == 0 ? "Set-Cookie:" : "set-cookie2:";
    qntest::Append(ctx->recvBuf, name + value + "\r\n\r\n");
    EXPECT_EQ(fnQNStack_Http_ParseAnswer(ctx.get()), 0);
    ReceiveInModel(host, value);
  }

  void ExpectLinesFor(const std::string &host) const {
    qntest::Buffer request(0);
    fnQNStack_Http_Cookie_AddToHead(request.get(), host.c_str());
    std::string expected;
    if (!model_.empty() && !Differ(model_.front().domain, host)) {
      const Cookie &newest = model_.front();
      expected = "Cookie: " + Shown(newest.name) + "=" + Shown(newest.value);
      expected = expected.substr(0, kLongestPiece) + "\r\nCookie2: \"1\"\r\n";
    }
    EXPECT_EQ(request.Unread(), expected);
  }

  void Empty() {
    fnQNStack_Http_Cookie_FreeAll();
    model_.clear();
  }

  void ExpectSame() const {
    auto expected = model_.begin();
    const QNListNode *node = fnQNList_BeginIter(qn::http_cookie_list);
    for (; node != nullptr; node = node->next, ++expected) {
      ASSERT_NE(expected, model_.end());
      const auto *cookie = static_cast<const qn::HttpCookie *>(node->data);
      EXPECT_TRUE(IsText(cookie->name, expected->name));
      EXPECT_TRUE(IsText(cookie->value, expected->value));
      EXPECT_TRUE(IsText(cookie->domain, expected->domain));
      EXPECT_TRUE(IsText(cookie->path, expected->path));
    }
    EXPECT_EQ(expected, model_.end());
  }

 private:
  void SetInModel(const Cookie &cookie) {
    const auto same = std::find_if(model_.begin(), model_.end(), [&](const Cookie &stored) {
      return !Differ(stored.name, cookie.name) && Differ(stored.domain, cookie.domain) &&
             Differ(stored.path, cookie.path);
    });
    if (same != model_.end()) {
      same->value = cookie.value;
      return;
    }
    model_.push_front(cookie);
    if (model_.size() > kMostCookies) model_.pop_back();
  }

  void ReceiveInModel(const std::string &host, const std::string &value) {
    const std::string text = value.substr(std::min(value.find_first_not_of(" \t"), value.size()));
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) return;
    const std::size_t end = std::min(text.find_first_of(" ;\t", equals + 1), text.size());
    const std::string name = text.substr(0, equals);
    const std::string content = text.substr(equals + 1, end - equals - 1);
    if (HoldsControl(name) || HoldsControl(content)) return;
    std::string path = "/";
    const std::size_t attribute = text.find("Path=", end);
    if (attribute != std::string::npos) {
      path = text.substr(attribute + 5);
      path = path.substr(0, path.find_first_of(" ;\t"));
    }
    SetInModel({name, content, host, path});
  }

  std::deque<Cookie> model_;
};

Text NextText(FuzzedDataProvider *input) {
  return std::string(input->ConsumeRandomLengthString(2200).c_str());
}

// A text, one that often comes again, or none.
Text NextText(FuzzedDataProvider *input, const char *usual) {
  switch (input->ConsumeIntegralInRange(0, 3)) {
    case 0:
      return usual;
    case 1:
      return std::nullopt;
    case 2:
      return usual + std::to_string(input->ConsumeIntegralInRange(0, 2));
    default:
      return NextText(input);
  }
}

// A header value: no line end, as the line would end there.
std::string NextValue(FuzzedDataProvider *input) {
  const std::string text = *NextText(input);
  return text.substr(0, text.find("\r\n"));
}

void Step(FuzzedDataProvider *input, JarAndModel *jar) {
  const std::string host = input->PickValueInArray(kHosts);
  switch (input->ConsumeIntegralInRange(0, 9)) {
    case 0:
      jar->Empty();
      break;
    case 1:
    case 2:
      jar->ExpectLinesFor(host);
      break;
    case 3:
    case 4:
    case 5: {
      const std::string value = NextValue(input);
      if (!value.ends_with('\r')) jar->Receive(host, value);
      break;
    }
    default: {
      const Text name = NextText(input, "sid");
      const Text value = NextText(input, "1");
      const Text domain = input->ConsumeBool() ? Text(host) : NextText(input, "a.test");
      jar->Set({name, value, domain, NextText(input, "/")});
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzedDataProvider input(data, size);
  JarAndModel jar;
  for (int left = kMostSteps; left > 0 && input.remaining_bytes() > 0; --left) {
    Step(&input, &jar);
    jar.ExpectSame();
  }
  for (const char *host : kHosts) jar.ExpectLinesFor(host);
  return 0;
}
