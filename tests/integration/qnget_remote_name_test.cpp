// SPDX-License-Identifier: MIT
// The name that -O gives a file: what the URL ends in, and nothing that leads out
// of the working folder.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure.h"
#include "remote_name.h"

namespace qntest {
namespace {

struct Named {
  const char *url;
  const char *name;
};

TEST(QngetRemoteName, IsTheLastSegmentOfThePath) {
  const Named names[] = {
      {"http://h/a", "a"},
      {"http://h:80/a/b.mms", "b.mms"},
      {"h/a", "a"},
      {"http://h/a?x=/b", "a"},
      {"http://h/a#x/b", "a"},
      {"http://h/a%20b%2Bc+d", "a b+c+d"},
      {"http://h/%c3%a9", "\xC3\xA9"},
      {"http://h/100%.txt", "100%.txt"},
      {"http://h/%2", "%2"},
      {"http://h/a%00b", "a%00b"},
      {"http://h/%252F", "%2F"},
      {"http://h/-", "./-"},
      {"http://h/.x", ".x"},
      {"http://h/...", "..."},
  };
  for (const Named &named : names) {
    EXPECT_EQ(qnget::RemoteName(named.url), named.name) << named.url;
  }
}

std::string ProblemOf(const std::string &url) {
  try {
    return "no problem: " + qnget::RemoteName(url);
  } catch (const qnget::Failure &failure) {
    EXPECT_EQ(failure.code(), qnget::kUsage);
    return failure.what();
  }
}

TEST(QngetRemoteName, IsRefusedWhereTheUrlHasNone) {
  for (const char *url :
       {"http://h", "http://h/", "http://h/a/", "http://h?a/b", "h", "http://h/?a"}) {
    EXPECT_THAT(ProblemOf(url), testing::HasSubstr("has no file name at its end")) << url;
  }
}

TEST(QngetRemoteName, IsRefusedWhereItLeadsElsewhere) {
  for (const char *url : {"http://h/.", "http://h/..", "http://h/%2e%2E",
                          "http://h/%2Fetc%2fpasswd", "http://h/a%2f"}) {
    EXPECT_THAT(ProblemOf(url), testing::HasSubstr("would name a file elsewhere")) << url;
  }
}

TEST(QngetRemoteName, IsRefusedWithControlCharacters) {
  EXPECT_EQ(ProblemOf("http://h/a%0Ab%1bc"),
            "-O: the URL has a file name with control characters; give a name by -o FILE");
}

}  // namespace
}  // namespace qntest
