// SPDX-License-Identifier: MIT
// Guards that each program of examples/ does what its first lines say.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kUsage = 2;
constexpr char kMmsAnswer[] =
    "HTTP/1.0 200 OK\r\nContent-Type: application/vnd.wap.mms-message\r\nContent-Length: 7\r\n\r\n"
    "message";

ProcessResult RunExample(const std::string &name, const std::vector<std::string> &arguments,
                         const ProcessOptions &options = {}) {
  std::vector<std::string> command{EXAMPLES_FOLDER "/" + name};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return RunProgram(command, options);
}

// Of a server or of nobody's port.
template <typename Peer>
std::string UrlOf(const Peer &peer, std::string_view path = "/m") {
  return "http://127.0.0.1:" + std::to_string(peer.port()) + std::string(path);
}

// The result of an example that ends with that exit code and says this.
auto EndsSaying(int exit_code, const std::string &error) {
  return testing::AllOf(testing::Field(&ProcessResult::exit_code, exit_code),
                        testing::Field(&ProcessResult::error, error));
}

// The first example, in C and in C++.
class FetchExample : public testing::TestWithParam<const char *> {
 protected:
  ScratchFolder folder_;
  const std::string file_ = folder_.path("body");
};

INSTANTIATE_TEST_SUITE_P(, FetchExample, testing::Values("fetch", "fetch_cpp"),
                         [](const auto &tested) { return std::string(tested.param); });

TEST_P(FetchExample, WritesTheBodyAndTellsStatusAndType) {
  ScriptedServer server({AnswerWith(kMmsAnswer)});

  EXPECT_THAT(RunExample(GetParam(), {UrlOf(server), file_}),
              EndsSaying(0, "status 200, application/vnd.wap.mms-message\n"));
  EXPECT_EQ(folder_.read("body"), "message");
  EXPECT_THAT(server.Received(0), StartsWith("GET /m HTTP/1.0\r\n"));
}

TEST_P(FetchExample, AsksThroughAProxy) {
  ScriptedServer gateway({AnswerWith("HTTP/1.0 404 Not Found\r\n\r\ngone")});

  const ProcessResult result = RunExample(
      GetParam(), {"http://mmsc.example/m", file_, "127.0.0.1", std::to_string(gateway.port())});

  EXPECT_THAT(result, EndsSaying(0, "status 404, no type\n"));
  EXPECT_EQ(folder_.read("body"), "gone");
  EXPECT_THAT(gateway.Received(0), StartsWith("GET http://mmsc.example/m HTTP/1.0\r\n"));
}

TEST_P(FetchExample, TellsTheStateInWhichItFailedAndItsUsage) {
  const RefusingPort nobody;

  EXPECT_THAT(RunExample(GetParam(), {UrlOf(nobody), file_}),
              EndsSaying(1, "failed in state -12\n"));
  const ProcessResult result = RunExample(GetParam(), {"http://mmsc.example/"});

  EXPECT_EQ(result.exit_code, kUsage);
  EXPECT_THAT(result.error, StartsWith("usage: "s + GetParam() + " URL FILE"));
}

TEST(FetchCppExample, WritesNothingOfACutAnswer) {
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 7\r\n\r\nmess")});
  const ScratchFolder folder;

  EXPECT_THAT(RunExample("fetch_cpp", {UrlOf(server), folder.path("body")}),
              EndsSaying(1, "cut after 4 bytes\n"));
  EXPECT_THAT(folder.names(), testing::IsEmpty());
}

// A message is sent from the file "sent", and one fetched into "fetched".
class MessageExample : public testing::Test {
 protected:
  ProcessResult Run(const std::string &url, const std::vector<std::string> &gateway = {}) {
    std::vector<std::string> arguments = {url, sent_, url, folder_.path("fetched")};
    arguments.insert(arguments.end(), gateway.begin(), gateway.end());
    return RunExample("message", arguments);
  }

  ScratchFolder folder_;
  const std::string content_ = "mes\0sage"s;
  const std::string sent_ = folder_.write("sent", content_);
};

TEST_F(MessageExample, SendsOneAndFetchesAnother) {
  ScriptedServer centre(
      {AnswerBodyWith(content_.size(), "HTTP/1.0 200 OK\r\n\r\ntaken"), AnswerWith(kMmsAnswer)});

  const ProcessResult result = Run(UrlOf(centre));

  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(folder_.read("fetched"), "message");
  EXPECT_THAT(centre.Received(0), StartsWith("POST /m HTTP/1.0\r\n"));
  EXPECT_THAT(centre.Received(0), HasSubstr("Content-Type: application/vnd.wap.mms-message\r\n"));
  EXPECT_THAT(centre.Received(0), EndsWith("\r\n\r\n" + content_));
  EXPECT_THAT(centre.Received(1), StartsWith("GET /m HTTP/1.0\r\n"));
}

TEST_F(MessageExample, GoesThroughAGateway) {
  ScriptedServer gateway(
      {AnswerBodyWith(content_.size(), "HTTP/1.0 204 No Content\r\n\r\n"), AnswerWith(kMmsAnswer)});

  const ProcessResult result =
      Run("http://mmsc.example/m", {"127.0.0.1", std::to_string(gateway.port())});

  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(folder_.read("fetched"), "message");
  EXPECT_THAT(gateway.Received(0), StartsWith("POST http://mmsc.example/m HTTP/1.0\r\n"));
  EXPECT_THAT(gateway.Received(1), StartsWith("GET http://mmsc.example/m HTTP/1.0\r\n"));
}

TEST_F(MessageExample, FetchesNothingWhereItsMessageWasNotTaken) {
  ScriptedServer centre({AnswerBodyWith(content_.size(), "HTTP/1.0 503 Busy\r\n\r\n")});

  EXPECT_THAT(Run(UrlOf(centre)), EndsSaying(1, "send: status 503\n"));
  EXPECT_EQ(centre.accepted(), 1U);
}

TEST_F(MessageExample, WritesNothingOfACutMessage) {
  ScriptedServer centre({AnswerBodyWith(content_.size(), "HTTP/1.0 200 OK\r\n\r\n"),
                         AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 7\r\n\r\nmess")});

  EXPECT_THAT(Run(UrlOf(centre)), EndsSaying(1, "fetch: the answer was cut\n"));
  EXPECT_THAT(folder_.names(), testing::ElementsAre("sent"));
}

TEST_F(MessageExample, SaysWhyItFailed) {
  const RefusingPort nobody;

  EXPECT_EQ(Run(UrlOf(nobody)).error, "send: the request did not get through\n");
  folder_.write("sent", "");
  EXPECT_EQ(Run("http://127.0.0.1/").error, "send: there is no message in " + sent_ + "\n");
  EXPECT_EQ(RunExample("message", {"http://127.0.0.1/"}).exit_code, kUsage);
}

// The program that the README shows; it writes to the folder it runs in.
class ReadmeExample : public testing::Test {
 protected:
  ProcessResult Run(const std::vector<std::string> &arguments) const {
    return RunExample("readme_fetch", arguments, {.folder = folder_.path()});
  }

  ScratchFolder folder_;
};

TEST_F(ReadmeExample, FetchesThroughAGateway) {
  ScriptedServer gateway({AnswerWith(kMmsAnswer)});

  EXPECT_EQ(Run({"http://mmsc.example/m", "127.0.0.1", std::to_string(gateway.port())}).exit_code,
            0);
  EXPECT_EQ(folder_.read("message.mms"), "message");
  EXPECT_THAT(gateway.Received(0), StartsWith("GET http://mmsc.example/m HTTP/1.0\r\n"));
}

TEST_F(ReadmeExample, FetchesAMessageAndTakesNoLengthFromARedirect) {
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\n\r\nmessage")});
  ScriptedServer first({AnswerWith(
      "HTTP/1.0 302 Found\r\nContent-Length: 4\r\nLocation: " + UrlOf(server) + "\r\n\r\nmove")});

  EXPECT_EQ(Run({UrlOf(first)}).exit_code, 0);
  EXPECT_EQ(folder_.read("message.mms"), "message");
}

TEST_F(ReadmeExample, FailsWithoutAServerAndWithoutAUrl) {
  const RefusingPort nobody;

  EXPECT_EQ(Run({UrlOf(nobody)}).exit_code, 1);
  EXPECT_EQ(Run({}).exit_code, kUsage);
}

TEST_F(ReadmeExample, KeepsTheOldMessageWhereItGetsNone) {
  for (const std::string answer :
       {"HTTP/1.0 404 Not Found\r\nContent-Length: 4\r\n\r\ngone",
        "HTTP/1.0 200 OK\r\nContent-Length: 7\r\n\r\nmess",
        "HTTP/1.0 200 OK\r\nContent-Length: x\r\n\r\nmess", "message", ""}) {
    SCOPED_TRACE(answer);
    folder_.write("message.mms", "old");
    ScriptedServer server({AnswerWith(answer)});

    EXPECT_EQ(Run({UrlOf(server)}).exit_code, 1);
    EXPECT_EQ(folder_.read("message.mms"), "old");
  }
}

TEST(PostExample, SendsTheTextAndTellsTheStatus) {
  ScriptedServer server({AnswerBodyWith(5, "HTTP/1.0 204 No Content\r\n\r\n")});

  const ProcessResult result = RunExample("post", {UrlOf(server), "hello", "text/plain"});

  EXPECT_THAT(result, EndsSaying(0, "status 204\n"));
  EXPECT_THAT(server.Received(0), StartsWith("POST /m HTTP/1.0\r\n"));
  EXPECT_THAT(server.Received(0), HasSubstr("Content-Type: text/plain\r\n"));
  EXPECT_THAT(server.Received(0), EndsWith("\r\n\r\nhello"));
}

TEST(PostExample, FailsWithTheServersRefusalOrWithoutAnAnswer) {
  ScriptedServer server({AnswerBodyWith(5, "HTTP/1.0 503 Busy\r\n\r\n"), {ReadHeader(), Reset()}});

  EXPECT_THAT(RunExample("post", {UrlOf(server), "hello"}), EndsSaying(1, "status 503\n"));
  EXPECT_THAT(RunExample("post", {UrlOf(server), "hello"}), EndsSaying(1, "status -1\n"));
}

ProcessResult RunTunnel(const ScriptedServer &gateway) {
  return RunExample("tunnel",
                    {"127.0.0.1", std::to_string(gateway.port()), "bank.example", "443", "open"});
}

TEST(TunnelExample, CarriesALineAndTheAnswer) {
  ScriptedServer gateway({{ReadHeader(), SendBytes("HTTP/1.1 200 Established\r\n\r\nhi "),
                           ReadBytes(6), SendBytes("there"), HalfClose(), ReadToEnd()}});

  EXPECT_THAT(RunTunnel(gateway), EndsSaying(0, "hi there"));
  EXPECT_THAT(gateway.Received(0), StartsWith("CONNECT bank.example:443 HTTP/1.1\r\n"));
  EXPECT_THAT(gateway.Received(0), EndsWith("\r\n\r\nopen\r\n"));
}

TEST(TunnelExample, ShowsARefusal) {
  ScriptedServer gateway({AnswerWith("HTTP/1.1 403 Forbidden\r\n\r\n")});

  EXPECT_THAT(RunTunnel(gateway), EndsSaying(1, "no tunnel: HTTP/1.1 403 Forbidden\r\n\r\n\n"));
}

// Of two calls, what the second one wrote; each of them would get another answer.
std::string FetchedTwice(const std::string &lines, const std::vector<std::string> &words = {}) {
  const auto answer = [&](const std::string &body) {
    return AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n" + lines + "\r\n" + body);
  };
  ScriptedServer server({answer("first"), answer("other")});
  const ScratchFolder root;
  const ScratchFolder folder;
  std::vector<std::string> second{root.path(), UrlOf(server), folder.path("body")};
  EXPECT_EQ(RunExample("cached_fetch", second).exit_code, 0);
  second.insert(second.end(), words.begin(), words.end());
  if (!words.empty()) second.push_back(std::to_string(server.port()));
  EXPECT_EQ(RunExample("cached_fetch", second).exit_code, 0);
  EXPECT_EQ(server.accepted(), folder.read("body") == "first" ? 1U : 2U);
  return folder.read("body");
}

TEST(CachedFetchExample, ServesWhatIsFreshByItsHeader) {
  EXPECT_EQ(FetchedTwice("Cache-Control: private, max-age=60\r\n"), "first");
  EXPECT_EQ(FetchedTwice("Cache-Control: max-age=60\r\nAge: 30\r\n"), "first");
  EXPECT_EQ(FetchedTwice("Expires: Sat, 01 Jan 2095 00:00:00 GMT\r\n"), "first");
}

TEST(CachedFetchExample, AsksAgainWhereNothingSaysThatItIsFresh) {
  for (const std::string lines :
       {"", "Cache-Control: max-age=0\r\n", "Cache-Control: max-age=x\r\n",
        "Cache-Control: max-age=-5\r\n", "Cache-Control: max-age=60, no-store\r\n",
        "Cache-Control: max-age=60\r\nPragma: no-cache\r\n",
        "Cache-Control: max-age=60\r\nVary: Accept\r\n", "Cache-Control: max-age=60\r\nAge: 60\r\n",
        "Cache-Control: max-age=60\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\n",
        "Expires: Sun, 06 Nov 1994 08:49:37 GMT\r\n", "Expires: 0\r\n",
        "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\nExpires: Mon, 07 Nov 1994 08:49:37 GMT\r\n",
        "Cache-Control: max-age=0\r\nExpires: Sat, 01 Jan 2095 00:00:00 GMT\r\n"}) {
    EXPECT_EQ(FetchedTwice(lines), "other") << lines;
  }
}

TEST(CachedFetchExample, AsksAgainThroughAnotherGateway) {
  EXPECT_EQ(FetchedTwice("Cache-Control: max-age=60\r\n", {"127.0.0.1"}), "other");
}

// The answer "old" is kept until that Unix time, and a server says "new".
std::string FetchedWithOldUntil(const std::string &until) {
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nnew")});
  const ScratchFolder root;
  const std::string url = UrlOf(server);
  const std::string agent = "MRV-WIN K415/WAP2.0 Profile/MIDP-2.0 Configuration/CLDC-1.1";
  EXPECT_EQ(RunProgram({"mkdir", "-p", root.path("wap/ca")}).exit_code, 0);
  root.write("wap/ca/7", "old");
  std::string index;
  for (const std::string &field :
       {url, "1000 " + until + " :0 " + agent, "7"s, "3"s, "2000000000"s, "0"s, "0"s}) {
    index += field + '\0';
  }
  root.write("wap/ca/ca.txt", index);
  EXPECT_EQ(RunExample("cached_fetch", {root.path(), url, root.path("body")}).exit_code, 0);
  return root.read("body");
}

TEST(CachedFetchExample, ServesNothingPastItsTime) {
  EXPECT_EQ(FetchedWithOldUntil("5000000000"), "old");
  EXPECT_EQ(FetchedWithOldUntil("2000"), "new");
}

TEST(CachedFetchExample, TakesNoCutAnswerForAWholeOne) {
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\nContent-Length: 7\r\n\r\nmess")});
  const ScratchFolder root;
  const ScratchFolder folder;

  const ProcessResult result =
      RunExample("cached_fetch", {root.path(), UrlOf(server), folder.path("body")});

  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(folder.names(), testing::IsEmpty());
}

TEST(SettingsExample, KeepsWhatTheStackIsStartedBy) {
  const ScratchFolder root;

  const ProcessResult kept =
      RunExample("settings", {root.path(), "red", "User-Agent", "Handset/1.0"});
  RunExample("settings", {root.path(), "red", "proxy-host", "127.0.0.1"});
  const ProcessResult red = RunExample("settings", {root.path(), "red"});
  const ProcessResult blue = RunExample("settings", {root.path(), "blue"});

  EXPECT_EQ(kept.exit_code, 0);
  EXPECT_EQ(red.exit_code, 0);
  EXPECT_THAT(red.output, HasSubstr("User-Agent: Handset/1.0\n"));
  EXPECT_THAT(red.output, EndsWith("proxy: yes\n"));
  EXPECT_THAT(blue.output, HasSubstr("User-Agent: MRV-WIN"));
  EXPECT_THAT(blue.output, EndsWith("proxy: no\n"));
}

TEST(SettingsExample, FailsWithoutARoot) {
  const ScratchFolder folder;

  EXPECT_THAT(RunExample("settings", {folder.path("missing"), "red", "key", "value"}),
              EndsSaying(1, "settings: cannot write\n"));
}

TEST(RecordsExample, KeepsNoticesInTheirOrder) {
  const ScratchFolder root;

  EXPECT_EQ(RunExample("records", {root.path(), "add", "155", "+123", "Hello"}).exit_code, 0);
  EXPECT_EQ(RunExample("records", {root.path(), "add", "9000", "", "A picture"}).exit_code, 0);
  const ProcessResult all = RunExample("records", {root.path(), "list"});
  const ProcessResult taken = RunExample("records", {root.path(), "take"});
  const ProcessResult left = RunExample("records", {root.path(), "list"});

  EXPECT_THAT(all.output, EndsWith("155 bytes from +123: Hello\n9000 bytes from : A picture\n"));
  EXPECT_THAT(taken.output, EndsWith("155 bytes from +123: Hello\n"));
  EXPECT_THAT(left.output, EndsWith("9000 bytes from : A picture\n"));
  EXPECT_THAT(left.output, testing::Not(HasSubstr("Hello")));
  EXPECT_EQ(RunExample("records", {root.path(), "take"}).exit_code, 0);
  EXPECT_EQ(RunExample("records", {root.path(), "take"}).exit_code, 1) << "there is none left";
}

TEST(SubjectExample, DecodesToUtf8) {
  EXPECT_EQ(RunExample("subject", {"1015", "fffe48006900e900"}).output, "Hi\u00e9\n");
  EXPECT_EQ(RunExample("subject", {"4", "e9"}).output, "\u00e9\n");
}

TEST(SubjectExample, RefusesWhatCannotBeDecoded) {
  for (const char *bytes : {"", "4", "zz"}) {
    EXPECT_THAT(RunExample("subject", {"106", bytes}),
                EndsSaying(1, "subject: cannot be decoded\n"));
  }
}

// The first server answers only after the second has delivered, so a loop that
// waited for one after the other would see nothing of the second.
TEST(PollLoopExample, WaitsForAllAtOnce) {
  ScriptedServer slow({{ReadHeader(), AwaitSignal(), SendBytes("HTTP/1.0 200 OK\r\n\r\nslow"),
                        HalfClose(), ReadToEnd()}});
  ScriptedServer quick({AnswerWith("HTTP/1.0 200 OK\r\n\r\nquick")});
  const std::string next = UrlOf(quick, "/n");
  ScriptedServer redirecting({AnswerWith("HTTP/1.0 302 Found\r\nLocation: " + next + "\r\n\r\n")});

  Process process({EXAMPLES_FOLDER "/poll_loop", UrlOf(slow), UrlOf(redirecting)});
  EXPECT_TRUE(process.WaitForError("quick"));
  EXPECT_THAT(process.error(), testing::Not(HasSubstr("slow")));
  slow.Signal();
  const ProcessResult result = process.wait();

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.error, EndsWith("slow"));
}

TEST(PollLoopExample, GoesOnWhereOneFails) {
  const RefusingPort nobody;
  ScriptedServer server({AnswerWith("HTTP/1.0 200 OK\r\n\r\nbody")});

  EXPECT_THAT(RunExample("poll_loop", {UrlOf(nobody), UrlOf(server)}),
              EndsSaying(1, "failed: " + UrlOf(nobody) + "\nbody"));
}

}  // namespace
