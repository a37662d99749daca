// SPDX-License-Identifier: MIT
// The URLs of qnget: what is made of those that users write and those that
// redirects give, and which are refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "url.h"

namespace qntest {
namespace {

using qnget::ReadUrl;
using qnget::ResolveReference;
using qnget::UrlFault;
using qnget::UrlReading;
using testing::HasSubstr;

struct Written {
  const char *text;
  const char *url;
};

const Written kWritten[] = {
    {"http://h/p?q", "http://h/p?q"},
    {"h", "http://h/"},
    {"h/p", "http://h/p"},
    {"h?x=1", "http://h/?x=1"},
    {"h:8080/p", "http://h:8080/p"},
    {"localhost:8080", "http://localhost:8080/"},
    {"http://h?x=1", "http://h/?x=1"},
    {"http://h#part", "http://h/"},
    {"http://h?x=1#part", "http://h/?x=1"},
    {"http://h/p#a/b?c", "http://h/p"},
    {"HTTP://H/P", "http://H/P"},
    {"http://h:80/p", "http://h/p"},
    {"http://h:/p", "http://h/p"},
    {"http://h:", "http://h/"},
    {"http://h:0081/", "http://h:81/"},
    {"http://h:65535", "http://h:65535/"},
    {"http://127.0.0.1:8002/m", "http://127.0.0.1:8002/m"},
    {"http://a-b.c_d.example./", "http://a-b.c_d.example./"},
    {"http://h/a/../b/./c", "http://h/a/../b/./c"},
    {"http://h//a", "http://h//a"},
    {"http://h/?u=http://other/", "http://h/?u=http://other/"},
    {"h/?u=http://other/", "http://h/?u=http://other/"},
    {"h?u=other://x", "http://h/?u=other://x"},
    {"http://h/@:[]", "http://h/@:[]"},
    {"http://h/\xC3\xBC", "http://h/%C3%BC"},
    {"http://h/%20", "http://h/%20"},
};

void ExpectRead(const Written &written, const UrlReading &reading) {
  SCOPED_TRACE(written.text);
  EXPECT_EQ(reading.problem, "");
  EXPECT_EQ(reading.url.Text(), written.url);
}

TEST(QngetUrl, IsMadeRight) {
  for (const Written &written : kWritten) ExpectRead(written, ReadUrl(written.text));
}

struct Bad {
  std::string text;
  UrlFault fault;
  const char *problem;
};

const Bad kBad[] = {
    {"https://h/", UrlFault::kSecure, "plain HTTP, not https"},
    {"HTTPS://h/", UrlFault::kSecure, "plain HTTP, not https"},
    {"ftp://h/", UrlFault::kOther, "plain HTTP, not ftp"},
    {"https:/h", UrlFault::kOther, "neither with http:// nor with a host"},
    {"http:/h", UrlFault::kOther, "neither with http:// nor with a host"},
    {"http:", UrlFault::kOther, "neither with http:// nor with a host"},
    {"http:?x", UrlFault::kOther, "neither with http:// nor with a host"},
    {"mailto:me", UrlFault::kOther, "port is not from 1 to 65535"},
    {"", UrlFault::kNoServer, "'' names no server"},
    {"http://", UrlFault::kNoServer, "'http://' names no server"},
    {"http:///p", UrlFault::kNoServer, "names no server"},
    {"http://?x", UrlFault::kNoServer, "names no server"},
    {"http://:80/", UrlFault::kNoServer, "names no server"},
    {"//h/p", UrlFault::kNoServer, "names no server"},
    {"://h/p", UrlFault::kNoServer, "names no server"},
    {"http://[::1]/", UrlFault::kOther, "not IPv6"},
    {"[::1]:80", UrlFault::kOther, "not IPv6"},
    {"http://me@h/", UrlFault::kOther, "-H 'Authorization: ...'"},
    {"http://me:secret@h:80/", UrlFault::kOther, "-H 'Authorization: ...'"},
    {"http://h:x/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h:8x/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h:-1/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h:0/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h:65536/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h:4294967376/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h:80:90/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"http://h /p", UrlFault::kOther, "it has blanks"},
    {"http://h/a b", UrlFault::kOther, "it has blanks"},
    {"http://h/a\tb", UrlFault::kOther, "control characters"},
    {"http://h/\r\nX: y", UrlFault::kOther, "control characters"},
    {"http://h/\x7F", UrlFault::kOther, "control characters"},
    {"http://h\xC3\xBC/", UrlFault::kOther, "the host has other characters"},
    {"http://h%41/", UrlFault::kOther, "the host has other characters"},
    {"http://h\\other/", UrlFault::kOther, "the host has other characters"},
    {"http://h/" + std::string(1992, 'x'), UrlFault::kOther, "longer than 2000 bytes"},
    {"h/" + std::string(664, '\xFF'), UrlFault::kOther, "longer than 2000 bytes"},
};

void ExpectRefused(const Bad &bad, const UrlReading &reading) {
  SCOPED_TRACE(bad.text);
  EXPECT_EQ(reading.fault, bad.fault);
  EXPECT_THAT(reading.problem, HasSubstr(bad.problem));
}

TEST(QngetBadUrl, IsRefusedWithAReason) {
  for (const Bad &bad : kBad) ExpectRefused(bad, ReadUrl(bad.text));
}

TEST(QngetUrlLength, MayBe2000Bytes) {
  const std::string text = "http://h/" + std::string(1991, 'x');

  EXPECT_EQ(ReadUrl(text).url.Text(), text);
}

TEST(QngetUrlServer, IsTheSameWithItsPortAndWhateverCase) {
  const qnget::Url url = ReadUrl("http://host.example/a").url;

  EXPECT_TRUE(HaveSameServer(url, ReadUrl("http://HOST.example:80/b").url));
  EXPECT_FALSE(HaveSameServer(url, ReadUrl("http://host.example:81/a").url));
  EXPECT_FALSE(HaveSameServer(url, ReadUrl("http://other.example/a").url));
}

// To "http://a/b/c/d;p?q".
const Written kReferences[] = {
    // RFC 3986, section 5.4.1, without the fragments.
    {"./g", "http://a/b/c/g"},
    {"g", "http://a/b/c/g"},
    {"g/", "http://a/b/c/g/"},
    {"/g", "http://a/g"},
    {"//g", "http://g/"},
    {"?y", "http://a/b/c/d;p?y"},
    {"g?y", "http://a/b/c/g?y"},
    {"#s", "http://a/b/c/d;p?q"},
    {"g#s", "http://a/b/c/g"},
    {"g?y#s", "http://a/b/c/g?y"},
    {";x", "http://a/b/c/;x"},
    {"g;x", "http://a/b/c/g;x"},
    {"g;x?y#s", "http://a/b/c/g;x?y"},
    {"", "http://a/b/c/d;p?q"},
    {".", "http://a/b/c/"},
    {"./", "http://a/b/c/"},
    {"..", "http://a/b/"},
    {"../", "http://a/b/"},
    {"../g", "http://a/b/g"},
    {"../..", "http://a/"},
    {"../../", "http://a/"},
    {"../../g", "http://a/g"},
    // RFC 3986, section 5.4.2.
    {"../../../g", "http://a/g"},
    {"../../../../g", "http://a/g"},
    {"/./g", "http://a/g"},
    {"/../g", "http://a/g"},
    {"g.", "http://a/b/c/g."},
    {".g", "http://a/b/c/.g"},
    {"g..", "http://a/b/c/g.."},
    {"..g", "http://a/b/c/..g"},
    {"./../g", "http://a/b/g"},
    {"./g/.", "http://a/b/c/g/"},
    {"g/./h", "http://a/b/c/g/h"},
    {"g/../h", "http://a/b/c/h"},
    {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
    {"g;x=1/../y", "http://a/b/c/y"},
    {"g?y/./x", "http://a/b/c/g?y/./x"},
    {"g?y/../x", "http://a/b/c/g?y/../x"},
    {"g#s/./x", "http://a/b/c/g"},
    {"g#s/../x", "http://a/b/c/g"},
    // Whole URLs, and what redirects bring besides.
    {"http://h:81/x/../y?z", "http://h:81/y?z"},
    {"HTTP://h", "http://h/"},
    {"//h:81?x", "http://h:81/?x"},
    {"/a b", "http://a/a%20b"},
    {"/\xC3\xBC", "http://a/%C3%BC"},
    {"/?u=http://other/", "http://a/?u=http://other/"},
    {"/..//g", "http://a//g"},
};

TEST(QngetReference, IsResolved) {
  const qnget::Url base = ReadUrl("http://a/b/c/d;p?q").url;
  for (const Written &written : kReferences) {
    ExpectRead(written, ResolveReference(base, written.text));
  }
}

TEST(QngetReference, ToAHostReplacesTheRootAlone) {
  EXPECT_EQ(ResolveReference(ReadUrl("http://h:81").url, "g").url.Text(), "http://h:81/g");
}

const Bad kBadReferences[] = {
    {"g:h", UrlFault::kOther, "plain HTTP, not g"},
    {"https://a/", UrlFault::kSecure, "not https"},
    {"https:g", UrlFault::kSecure, "not https"},
    {"http:g", UrlFault::kNoServer, "'http:g' names no server"},
    {"http:///g", UrlFault::kNoServer, "names no server"},
    {"//", UrlFault::kNoServer, "names no server"},
    {"//me@h/", UrlFault::kOther, "user's name"},
    {"//h:0/", UrlFault::kOther, "port is not from 1 to 65535"},
    {"//h /", UrlFault::kOther, "the host has other characters"},
    {"//[::1]/", UrlFault::kOther, "not IPv6"},
    {"/\x1B[2J", UrlFault::kOther, "control characters"},
    {"/a\tb", UrlFault::kOther, "control characters"},
    {"/" + std::string(1992, 'x'), UrlFault::kOther, "longer than 2000 bytes"},
    {"?" + std::string(1992, 'x'), UrlFault::kOther, "longer than 2000 bytes"},
};

TEST(QngetBadReference, IsRefusedWithAReason) {
  for (const Bad &bad : kBadReferences) {
    ExpectRefused(bad, ResolveReference(ReadUrl("http://a/b").url, bad.text));
  }
}

}  // namespace
}  // namespace qntest
