// SPDX-License-Identifier: MIT
// Text bodies in the character sets of multimedia messages: --charset writes
// them as UTF-8, complete or not at all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "qnget_program.h"
#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/scripted_server.h"

namespace qntest {
namespace {

using testing::HasSubstr;

struct Body {
  const char *name;
  const char *charset;
  std::string bytes;
  std::string text;
};

void PrintTo(const Body &body, std::ostream *out) { *out << body.name; }

class QngetCharset : public testing::TestWithParam<Body> {};

TEST_P(QngetCharset, IsWrittenAsUtf8) {
  ScriptedServer server({AnswerWith(Answer(GetParam().bytes))});

  const ProcessResult result = RunQnget({"--charset", GetParam().charset, LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, GetParam().text);
  EXPECT_EQ(result.error, "");
}

const Body kBodies[] = {
    {"Latin1", "4", "caf\xE9", "caf\xC3\xA9"},
    {"Utf8", "106", "caf\xC3\xA9", "caf\xC3\xA9"},
    {"Ucs2", "1000", std::string("\xFE\xFF\x00h\x00\xE9", 6), "h\xC3\xA9"},
    {"Utf16", "1015", std::string("\xFF\xFEh\x00\x3D\xD8\x00\xDE", 8), "h\xF0\x9F\x98\x80"},
    {"UsAscii", "3", "abc", "abc"},
    {"Empty", "1015", "", ""},
};

INSTANTIATE_TEST_SUITE_P(Qnget, QngetCharset, testing::ValuesIn(kBodies),
                         [](const auto &test) { return std::string(test.param.name); });

// The library gives text in pieces of its own size, and a character may lie
// across two of them.
TEST(QngetCharsetOption, DecodesABodyOfManyPiecesAsOne) {
  std::string bytes = "\xFF\xFE";
  std::string text;
  for (int i = 0; i < 60001; ++i) {
    bytes += "\x2D\x4E";
    text += "\xE4\xB8\xAD";
  }
  ScriptedServer server({AnswerWith(Answer(bytes))});

  const ProcessResult result = RunQnget({"--charset=1015", LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, text);
}

TEST(QngetCharsetOption, LeavesNoFileWhereTheBodyIsNoText) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");
  ScriptedServer server({AnswerWith(Answer("no mark here"))});

  const ProcessResult result = RunQnget({"--charset=1000", "-o", file, LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr("qnget: the body is no text in the character set 1000"));
  EXPECT_EQ(folder.read("kept"), "old");
}

TEST(QngetCharsetOption, DecodesWhatTheCacheServesToo) {
  const ScratchFolder folder;
  std::string url;
  {
    ScriptedServer server({AnswerWith(Answer("caf\xE9", "Cache-Control: max-age=1000\r\n"))});
    url = LocalUrl(server.port());
    RunQnget({"--cache", "--root", folder.path(), url});
  }

  const ProcessResult result = RunQnget({"--cache", "--root", folder.path(), "--charset=4", url});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "caf\xC3\xA9");
}

// An answer with a body of 64 MiB and some bytes more.
ConnectionScript LargestText(const std::string &more) {
  return {ReadHeader(),
          SendBytes("HTTP/1.0 200 OK\r\n\r\n"),
          SendTimes(std::string(1U << 20U, 'x'), 64),
          SendBytes(more),
          HalfClose(),
          ReadToEnd()};
}

TEST(QngetCharsetOption, DecodesATextOf64MiB) {
  const ScratchFolder folder;
  ScriptedServer server({LargestText("")});

  RunQnget({"--charset=4", "-o", folder.path("f"), LocalUrl(server.port())});

  EXPECT_EQ(std::filesystem::file_size(folder.path("f")), 64U << 20U);
}

TEST(QngetCharsetOption, DecodesNoTextAbove64MiB) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");
  ScriptedServer server({LargestText("y")});

  const ProcessResult result = RunQnget({"--charset=4", "-o", file, LocalUrl(server.port())});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.error, Message("the body is longer than the 64 MiB that --charset decodes"));
  EXPECT_EQ(folder.read("kept"), "old");
}

TEST(QngetCharsetOption, NamesTheSetsThatItKnows) {
  for (const std::string charset : {"0", "5", "2026", "65536", "0106", "+4", "", "x"}) {
    const ProcessResult result = RunQnget({"--charset", charset, "http://127.0.0.1:9/"});

    EXPECT_EQ(result.exit_code, 1) << charset;
    EXPECT_THAT(result.error, HasSubstr("no character set '" + charset +
                                        "'; there are 3 (US-ASCII), 4 (ISO-8859-1), 106 (UTF-8), "
                                        "1000 (UCS-2), 1015 (UTF-16)"));
  }
}

TEST(QngetCharsetOption, IsRefusedWithARawAnswer) {
  const ProcessResult raw = RunQnget({"--raw", "--charset=4", "http://127.0.0.1:9/"});

  EXPECT_EQ(raw.exit_code, 1);
  EXPECT_THAT(raw.error, HasSubstr("not a --raw answer"));
}

}  // namespace
}  // namespace qntest
