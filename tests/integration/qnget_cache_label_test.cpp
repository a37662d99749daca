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
  const auto label = ReadLabel(LabelText(kLabel));

  ASSERT_TRUE(label);
  EXPECT_EQ(label->came, -5);
  EXPECT_EQ(label->until, 5000000000);
  EXPECT_EQ(label->checksum, 18446744073709551615U);
  EXPECT_EQ(label->type, "text/plain");
  EXPECT_EQ(label->identity, "direct user-agent=A");
}

TEST(QngetCacheLabel, IsReadWithoutAMediaType) {
  const auto label = ReadLabel(LabelText({1, 2, 3, "", "direct"}));

  ASSERT_TRUE(label);
  EXPECT_EQ(label->type, "");
  EXPECT_EQ(label->identity, "direct");
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

TEST(QngetIdentity, TellsAnEmptyFieldFromNone) {
  EXPECT_NE(Identity({}, {{"Accept", ""}}).TextFor({"accept"}),
            Identity({}, {}).TextFor({"accept"}));
}

TEST(QngetIdentity, TellsSeveralFieldsFromOne) {
  EXPECT_NE(Identity({}, {{"A", "1"}, {"a", "2"}}).TextFor({"a"}),
            Identity({}, {{"A", "1"}}).TextFor({"a"}));
}

TEST(QngetIdentity, NamesTheFieldsItIsAbout) {
  const Identity identity({}, {{"Accept", "a b"}});

  const std::string text = identity.TextFor({"Accept", "X-None"});

  EXPECT_THAT(NamesIn(text), testing::ElementsAre("accept", "authorization", "cookie", "profile",
                                                  "user-agent", "x-none"));
  EXPECT_EQ(identity.TextFor(NamesIn(text)), text);
}

TEST(QngetRequestFields, AreTheGivenOnesOverTheLibrarys) {
  qnget::Options options;
  options.headers = {{"User-Agent", "Handset/1.0"}};

  const std::vector<qnget::HeaderField> fields = RequestFields(options);

  const auto value = [&](const char *name) {
    return qnget::AnswerHead{0, fields}.First(name).value_or("none");
  };
  EXPECT_EQ(value("User-Agent"), "Handset/1.0");
  EXPECT_EQ(value("Accept-Language"), "en");
  EXPECT_EQ(value("Accept"), "*/*,application/vnd.wap.mms-message,text/html");
}

TEST(QngetShownAge, IsInTheLargestUnit) {
  EXPECT_EQ(qnget::ShownAge(0), "0 s");
  EXPECT_EQ(qnget::ShownAge(59), "59 s");
  EXPECT_EQ(qnget::ShownAge(60), "1 min");
  EXPECT_EQ(qnget::ShownAge(3599), "59 min");
  EXPECT_EQ(qnget::ShownAge(3600), "1 h");
  EXPECT_EQ(qnget::ShownAge(86399), "23 h");
  EXPECT_EQ(qnget::ShownAge(86400), "1 day");
  EXPECT_EQ(qnget::ShownAge(172800), "2 days");
}

TEST(QngetShownDate, IsADashWhereTheSystemHasNoLocalTime) {
  ScriptedClock clock({2026, 11, 22, 9, 5, 59});
  EXPECT_EQ(qnget::ShownDate(1), "2026-11-22 09:05");

  clock.RefuseLocal();

  EXPECT_EQ(qnget::ShownDate(1), "-");
}

}  // namespace
}  // namespace qntest
