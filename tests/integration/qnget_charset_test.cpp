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

TEST(QngetCharset, IsWrittenAsUtf8) {
  const auto call = [](const char *name, const char *charset, const std::string &bytes,
                       const std::string &text) {
    return Call{name, AnswerWith(Answer(bytes)), {"--charset", charset, kUrl}, text};
  };
  ExpectEach({
      call("Latin1", "4", "caf\xE9", "caf\xC3\xA9"),
      call("Utf8", "106", "caf\xC3\xA9", "caf\xC3\xA9"),
      call("Ucs2", "1000", std::string("\xFE\xFF\x00h\x00\xE9", 6), "h\xC3\xA9"),
      call("Utf16", "1015", std::string("\xFF\xFEh\x00\x3D\xD8\x00\xDE", 8), "h\xF0\x9F\x98\x80"),
      call("UsAscii", "3", "abc", "abc"),
      call("Empty", "1015", "", ""),
  });
}

// The library gives text in pieces of its own size, and a character may lie
// across two of them.
TEST(QngetCharsetOption, DecodesABodyOfManyPiecesAsOne) {
  std::string bytes = "\xFF\xFE";
  std::string text;
  for (int i = 0; i < 60001; ++i) {
    bytes += "\x2D\x4E";
    text += "\xE4\xB8\xAD";
  }

  EXPECT_THAT(RunOnAnswer(Answer(bytes), {"--charset=1015", kUrl}), Delivers(text));
}

TEST(QngetCharsetOption, LeavesNoFileWhereTheBodyIsNoText) {
  const ScratchFolder folder;
  const std::string file = folder.write("kept", "old");

  const Exchange result = RunOnAnswer(Answer("no mark here"), {"--charset=1000", "-o", file, kUrl});

  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr("qnget: the body is no text in the character set 1000"));
  EXPECT_EQ(folder.read("kept"), "old");
}

TEST(QngetCharsetOption, DecodesWhatTheCacheServesToo) {
  const ScratchFolder folder;
  ScriptedServer server({AnswerWith(Answer("caf\xE9", "Cache-Control: max-age=1000\r\n"))});
  const Words arguments{"--cache", "--root", folder.path(), LocalUrl(server.port())};
  RunQnget(arguments);

  EXPECT_THAT(RunQnget(Joined({"--charset=4"}, arguments)), Delivers("caf\xC3\xA9"));
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

TEST(QngetCharsetOption, DecodesATextOf64MiBAndNoLongerOne) {
  const ScratchFolder folder;
  const std::string file = folder.path("f");
  const auto size = [&] { return std::filesystem::file_size(file); };

  RunOn({LargestText("")}, {"--charset=4", "-o", file, kUrl});
  EXPECT_EQ(size(), 64U << 20U);

  EXPECT_THAT(RunOn({LargestText("y")}, {"--charset=4", "-o", file, kUrl}),
              FailsWith(4, "the body is longer than the 64 MiB that --charset decodes"));
  EXPECT_EQ(size(), 64U << 20U);
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

}  // namespace
}  // namespace qntest
