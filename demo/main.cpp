// SPDX-License-Identifier: MIT
// The demo: a multimedia message travels from a handset through a gateway to a
// centre and back, on loopback ports, with qnget as the handset, which then does
// without them. Every step is said, shown as the network saw it, and checked.
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "centre.h"
#include "gateway.h"
#include "narration.h"
#include "pdu.h"
#include "subjects.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "tap.h"

namespace demo {
namespace {

using qntest::ProcessResult;

constexpr char kSubjectText[] = "Hello from the hill";
constexpr char kMessageText[] =
    "The view is wide, the tea is hot, 21 \xC2\xB0"
    "C.";
constexpr char kUserAgent[] = "DemoHandset/1.0 Profile/MIDP-2.0 Configuration/CLDC-1.1";
constexpr char kProfile[] = "http://www.example.com/uaprof/demo-handset.xml";
constexpr std::chrono::seconds kPatience{15};
constexpr char kHandsetFolder[] = "handset";  // what the handset keeps, in the demo's own folder

std::string ComposeMessage() {
  constexpr uint8_t kInsertAddress = 0x81;  // the network fills the sender in
  return Encode({{{kMessageType, OctetValue(kSendRequest)},
                  {kTransactionId, TextValue("t1")},
                  {kVersion, OctetValue(kVersion10)},
                  {kFrom, SizedValue(OctetValue(kInsertAddress))},
                  {kTo, TextValue("+15550123/TYPE=PLMN")},
                  {kSubject, TextValue(kSubjectText)},
                  {kContentType, OctetValue(kMultipartMixed)}},
                 ContentOfText(kMessageText, "hello.txt")});
}

std::string FirstLine(std::string_view message) {
  return std::string(message.substr(0, message.find("\r\n")));
}

// The value of the named header line; nothing where there is no such line.
std::optional<std::string> HeaderValue(std::string_view message, const std::string &name) {
  const std::string start = "\r\n" + name + ": ";
  const std::string_view header = message.substr(0, message.find("\r\n\r\n"));
  const size_t found = header.find(start);
  if (found == std::string_view::npos) return std::nullopt;
  return FirstLine(header.substr(found + start.size()));
}

class Story {
 public:
  explicit Story(std::string qnget)
      : qnget_(std::move(qnget)),
        centre_(std::in_place),
        gateway_(std::in_place),
        tap_(gateway_->port()) {}

  void Tell() {
    Introduce();
    Post();
    const std::string url = Notify();
    Fetch(url);
    Read();
    Remember(url);
    FetchWithoutNetwork(url);
    TellSubjects();
    Say("\nThat is all: the message went out, came back whole, and stays.");
  }

 private:
  void Introduce() const {
    Say("An MMS message over HTTP, there and back");
    Say("");
    Say("The MMS centre listens on 127.0.0.1:" + std::to_string(centre_->port()) +
        ", the gateway on 127.0.0.1:" + std::to_string(gateway_->port()) + ".");
    Say("A tap on " + TapAddress() + " stands before the gateway, passes all bytes on");
    Say("and shows them here. qnget plays the handset.");
  }

  void Post() {
    const std::string message = ComposeMessage();
    folder_.write("message.mms", message);
    Say("\n1. The handset posts a message of " + std::to_string(message.size()) +
        " bytes through the gateway.");
    const ProcessResult outcome = Qnget({"--data", "message.mms", "--content-type", kMmsMediaType,
                                         "-o", "confirmation.mms", centre_->SubmitUrl()});
    const std::vector<Exchange> seen = ShowExchanges();
    CheckDone(outcome);
    Check(seen.size() == 1, "one request was enough");
    Check(FirstLine(seen[0].request) == "POST " + centre_->SubmitUrl() + " HTTP/1.0",
          "the request names the whole URL, as a gateway needs it");
    CheckHandset(seen[0].request);
    Check(centre_->Received() == message, "the centre holds the message byte for byte");
    CheckConfirmation(Decode(folder_.read("confirmation.mms")));
  }

  static void CheckConfirmation(const Pdu &confirmation) {
    Check(confirmation.Octet(kMessageType) == kSendConfirmation &&
              confirmation.Text(kTransactionId) == "t1",
          "the centre confirms this message, as " + confirmation.Text(kMessageId));
  }

  std::string Notify() const {
    const Pdu notification = Decode(centre_->Notification());
    std::string url = notification.Text(kContentLocation);
    Say("\n2. The centre notifies the recipient (on a phone, by a push message).");
    Say("   subject: " + notification.Text(kSubject));
    Say("   waiting at: " + url);
    Check(notification.Octet(kMessageType) == kNotification && !url.empty(),
          "the notification names the message's URL");
    return url;
  }

  void Fetch(const std::string &url) {
    Say("\n3. The handset fetches the message; the centre sets a cookie and redirects it.");
    const ProcessResult outcome = Qnget({"--cache", "-i", "-o", "received.mms", url});
    const std::vector<Exchange> seen = ShowExchanges();
    Say("   qnget says:");
    ShowMessage(outcome.error, "|");
    CheckDone(outcome);
    Check(seen.size() == 2, "the redirect was followed");
    CheckRedirect(seen[0], url);
    CheckFollowed(seen[1].request, HeaderValue(seen[0].answer, "Location").value_or(""));
    Check(outcome.error.find("cache: stored, fresh until ") != std::string::npos,
          "the message may be kept, and is");
  }

  static void CheckRedirect(const Exchange &first, const std::string &url) {
    Check(FirstLine(first.request) == "GET " + url + " HTTP/1.0",
          "the first request is for the notified URL");
    Check(!HeaderValue(first.request, "Cookie"), "it carries no cookie yet");
    Check(FirstLine(first.answer).find(" 302 ") != std::string::npos,
          "the centre answers with status 302");
    Check(HeaderValue(first.answer, "Set-Cookie").value_or("").starts_with(kSessionCookie),
          "and sets the cookie " + std::string(kSessionCookie));
  }

  static void CheckFollowed(const std::string &request, const std::string &location) {
    Check(FirstLine(request) == "GET " + location + " HTTP/1.0",
          "the second request is for the new location, " + location);
    Check(HeaderValue(request, "Cookie") == kSessionCookie, "it sends the cookie back");
    CheckHandset(request);
  }

  void Read() const {
    Say("\n4. The saved message is read.");
    const std::string saved = folder_.read("received.mms");
    Check(!saved.empty() && saved == centre_->Delivered(),
          "the file holds the " + std::to_string(saved.size()) + " bytes that the centre sent");
    const Pdu received = Decode(saved);
    Check(received.Octet(kMessageType) == kRetrieveConfirmation, "it is a retrieved message");
    Check(received.content == Decode(ComposeMessage()).content,
          "its content is the posted one, byte for byte");
    Say("   subject: " + received.Text(kSubject));
    Say("   text:    " + TextOfContent(received.content));
    Check(received.Text(kSubject) == kSubjectText, "the subject is the posted one");
    Check(TextOfContent(received.content) == kMessageText, "the text is the posted one");
  }

  void Remember(const std::string &url) {
    Say("\n5. The handset is told of its gateway for good; the next call finds it by itself.");
    CheckDone(Run({"config", "set", "proxy", TapAddress()}));
    const ProcessResult told = Run({"config", "get", "proxy"});
    Say("   qnget says:");
    ShowMessage(told.output, "|");
    Check(told.output == TapAddress() + "\n", "the setting has survived the call that made it");
    CheckDone(Run(AsHandset({"-o", "again.mms", url})));
    const std::vector<Exchange> seen = tap_.Take();
    for (const Exchange &exchange : seen) {
      Say("   The network carried " + FirstLine(exchange.request));
    }
    Check(seen.size() == 2, "without -p, the handset went through the gateway");
    Check(folder_.read("again.mms") == centre_->Delivered(), "and has the message again");
  }

  void FetchWithoutNetwork(const std::string &url) {
    const std::string delivered = folder_.read("received.mms");
    Say("\n6. The centre and the gateway are stopped; the handset asks for the message again.");
    gateway_.reset();
    centre_.reset();
    const ProcessResult outcome = Run(AsHandset({"--cache", "-i", "-o", "kept.mms", url}));
    Say("   qnget says:");
    ShowMessage(outcome.error, "|");
    CheckDone(outcome);
    Check(outcome.error.find("\ncache: hit, age ") != std::string::npos,
          "the answer comes from the cache");
    Check(tap_.Take().empty(), "nothing went over the network");
    Check(folder_.read("kept.mms") == delivered, "it is the message of step 3, byte for byte");
  }

  static void CheckHandset(const std::string &request) {
    Check(HeaderValue(request, "User-Agent") == kUserAgent &&
              HeaderValue(request, "Profile") == kProfile,
          "the handset gives its name and its profile");
    Check(HeaderValue(request, "Accept").value_or("").find(kMmsMediaType) != std::string::npos &&
              HeaderValue(request, "Accept-Language").has_value(),
          "and says that it takes multimedia messages, and its language");
  }

  void CheckDone(const ProcessResult &outcome) const {
    if (outcome.exit_code != 0) {
      Say("   qnget ends with " + std::to_string(outcome.exit_code) + " and says:");
      ShowMessage(outcome.error, "|");
      if (centre_) Say("   The centre's complaint: " + centre_->Complaint());
    }
    Check(outcome.exit_code == 0, "qnget ends with success");
  }

  std::string TapAddress() const { return "127.0.0.1:" + std::to_string(tap_.port()); }

  // Through the gateway, as a handset.
  ProcessResult Qnget(const std::vector<std::string> &arguments) const {
    std::vector<std::string> words = AsHandset(arguments);
    words.insert(words.begin(), {"-p", TapAddress()});
    return Run(words);
  }

  static std::vector<std::string> AsHandset(const std::vector<std::string> &arguments) {
    std::vector<std::string> words = {"--user-agent", kUserAgent,  "--profile",
                                      kProfile,       "--timeout", "10"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }

  ProcessResult Run(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--root", kHandsetFolder});
    ShowCommand("qnget", words);
    words.insert(words.begin(), qnget_);
    return qntest::RunProgram(words, {.folder = folder_.path()}, kPatience);
  }

  std::vector<Exchange> ShowExchanges() {
    std::vector<Exchange> seen = tap_.Take();
    for (const Exchange &exchange : seen) {
      Say("   The network carried this request:");
      ShowMessage(exchange.request, ">");
      Say("   and this answer:");
      ShowMessage(exchange.answer, "<");
    }
    return seen;
  }

  std::string qnget_;
  qntest::ScratchFolder folder_;
  std::optional<Centre> centre_;
  std::optional<Gateway> gateway_;
  Tap tap_;
};

}  // namespace
}  // namespace demo

int main() {
  // Each line is seen when it is said, also through a pipe.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  try {
    demo::Story(DEMO_QNGET).Tell();
    return 0;
  } catch (const std::exception &error) {
    std::fflush(stdout);
    std::fprintf(stderr, "The demo failed, %s\n", error.what());
    return 1;
  }
}
