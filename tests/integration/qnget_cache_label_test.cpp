// SPDX-License-Identifier: MIT
// What qnget writes down beside a kept answer, and how it is read again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cache_label.h"
#include "identity.h"
#include "options.h"
#include "request.h"
#include "shown_time.h"
#include "support/scripted_clock.h"

namespace qntest {
namespace {

using qnget::CacheLabel;
using qnget::Identity;
using qnget::LabelText;
using qnget::NamesIn;
using qnget::ReadLabel;

const CacheLabel kLabel{-5, 5000000000, 18446744073709551615U, "text/plain", "direct user-agent=A"};

TEST(QngetCacheLabel, IsReadAsItWasWritten) {
  for (const CacheLabel &written : {kLabel, CacheLabel{1, 2, 3, "", "direct"}}) {
    const auto label = ReadLabel(LabelText(written));

    ASSERT_TRUE(label);
    EXPECT_EQ(label->came, written.came);
    EXPECT_EQ(label->until, written.until);
    EXPECT_EQ(label->checksum, written.checksum);
    EXPECT_EQ(label->type, written.type);
    EXPECT_EQ(label->identity, written.identity);
  }
}

TEST(QngetCacheLabel, IsNotReadFromAnyOtherText) {
  const std::string text = LabelText(kLabel);
  for (const std::string &other :
       {std::string(), std::string("NULL"), std::string("text/plain"), "x" + text,
        "qnget-2" + text.substr(7), std::string("qnget-1 came=1 until=x sum=3 type= direct"),
        std::string("qnget-1 came=1 until=2 sum=3 kind= direct"),
        std::string("qnget-1 came=1 until=2 sum=-3 type= direct"),
        std::string("qnget-1 came=1 until=99999999999999999999 sum=3 type= direct")}) {
    EXPECT_FALSE(ReadLabel(other)) << other;
  }
  for (size_t length = 0; length < text.find("direct"); ++length) {
    EXPECT_FALSE(ReadLabel(text.substr(0, length))) << length;
  }
}

TEST(QngetCacheLabel, IsOneLineWhateverTheHeader) {
  const Identity identity({}, {{"User-Agent", "\n \t=%\x01\xff"}});

  EXPECT_EQ(identity.TextFor({"X-A\n"}),
            "direct authorization cookie profile user-agent=%0a%20%09%3d%25%01%ff x-a%0a");
}

TEST(QngetIdentity, IsOfTheGatewayInAnyCase) {
  const auto text = [](const std::optional<qnget::Proxy> &gateway) {
    return Identity(gateway, {}).TextFor({});
  };

  EXPECT_EQ(text(qnget::Proxy{"Gateway", 80}), text(qnget::Proxy{"gateway", 80}));
  EXPECT_NE(text(qnget::Proxy{"gateway", 80}), text(qnget::Proxy{"gateway", 81}));
  EXPECT_NE(text(qnget::Proxy{"gateway", 80}), text({}));
}

TEST(QngetIdentity, TellsNoFieldAnEmptyOneOneAndSeveralApart) {
  const auto text = [](const std::vector<qnget::HeaderField> &fields) {
    return Identity({}, fields).TextFor({"a"});
  };

  EXPECT_NE(text({{"A", ""}}), text({}));
  EXPECT_NE(text({{"A", "1"}, {"a", "2"}}), text({{"A", "1"}}));
}

TEST(QngetIdentity, NamesTheFieldsItIsAbout) {
  const Identity identity({}, {{"Accept", "a b"}});

  const std::string text = identity.TextFor({"Accept", "X-None"});

  EXPECT_THAT(NamesIn(text), testing::ElementsAre("accept", "authorization", "cookie", "profile",
                                                  "user-agent", "x-none"));
  EXPECT_EQ(identity.TextFor(NamesIn(text)), text);
}

TEST(QngetShownAge, IsInTheLargestUnit) {
  const std::pair<int64_t, const char *> ages[] = {
      {0, "0 s"},    {59, "59 s"},    {60, "1 min"},    {3599, "59 min"},
      {3600, "1 h"}, {86399, "23 h"}, {86400, "1 day"}, {172800, "2 days"}};
  for (const auto &[seconds, text] : ages) EXPECT_EQ(qnget::ShownAge(seconds), text);
}

TEST(QngetShownDate, IsADashWhereTheSystemHasNoLocalTime) {
  ScriptedClock clock({2026, 11, 22, 9, 5, 59});
  EXPECT_EQ(qnget::ShownDate(1), "2026-11-22 09:05");

  clock.RefuseLocal();

  EXPECT_EQ(qnget::ShownDate(1), "-");
}

}  // namespace
}  // namespace qntest
