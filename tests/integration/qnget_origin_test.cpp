// SPDX-License-Identifier: MIT
// qnget with an HTTP server that others wrote: the methods, a redirect with a
// cookie, and large bodies both ways.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>

#include "qnget_program.h"
#include "support/http_server.h"
#include "support/process.h"

namespace qntest {
namespace {

using httplib::Request;
using httplib::Response;
using testing::HasSubstr;

constexpr std::size_t kLarge = 3000000;

void AddRoutes(httplib::Server &server) {
  const auto echo = [](const Request &request, Response &response) {
    response.set_content(request.method + " " + request.body,
                         request.get_header_value("Content-Type"));
  };
  server.Post("/echo", echo);
  server.Put("/echo", echo);
  server.Get("/large", [](const Request &, Response &response) {
    response.set_content(ScatteredBytes(kLarge), "application/octet-stream");
  });
  server.Get("/chunks", [](const Request &, Response &response) {
    response.set_chunked_content_provider("text/plain", [](size_t offset, httplib::DataSink &sink) {
      if (offset == 0) return sink.write("in ", 3);
      sink.write("pieces", 6);
      sink.done();
      return true;
    });
  });
  server.Get("/down/here", [](const Request &, Response &response) {
    response.set_redirect("../chunks#end", 308);
  });
  server.Get("/enter", [](const Request &request, Response &response) {
    response.set_header("Set-Cookie", "pass=7; Path=/");
    response.set_redirect("http://" + request.get_header_value("Host") + "/inside");
  });
  server.Get("/inside", [](const Request &request, Response &response) {
    const bool known = request.get_header_value("Cookie").find("pass=7") != std::string::npos;
    response.status = known ? 200 : 403;
    response.set_content(request.get_header_value("User-Agent"), "text/plain");
  });
}

class QngetAtAnOrigin : public testing::Test {
 protected:
  std::string Url(const std::string &path) const { return LocalUrl(origin_.port(), path); }

 private:
  const HttpServer origin_{AddRoutes};
};

TEST_F(QngetAtAnOrigin, GetsALargeBody) {
  const ProcessResult result = RunQnget({Url("/large")});

  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_TRUE(result.output == ScatteredBytes(kLarge));
}

TEST_F(QngetAtAnOrigin, PostsALargeBody) {
  const std::string body = ScatteredBytes(kLarge);

  const ProcessResult result =
      RunQnget({"--data", "-", "--content-type", "application/x-large", "-i", Url("/echo")},
               {.input = body});

  EXPECT_TRUE(result.output == "POST " + body);
  EXPECT_THAT(result.error, HasSubstr("status: 200\ntype: application/x-large\nlength: " +
                                      std::to_string(kLarge + 5) + "\n"));
}

TEST_F(QngetAtAnOrigin, PutsABody) {
  const ProcessResult result = RunQnget(
      {"-X", "PUT", "--data", "-", "--content-type", "text/plain", Url("/echo")}, {.input = "abc"});

  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.output, "PUT abc");
}

TEST_F(QngetAtAnOrigin, AsksForAHeader) {
  const ProcessResult result = RunQnget({"-X", "HEAD", "-i", Url("/large")});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.error, HasSubstr("length: " + std::to_string(kLarge) + "\n"));
}

TEST_F(QngetAtAnOrigin, FollowsARelativeRedirectToChunks) {
  const ProcessResult result = RunQnget({"-i", Url("/down/here")});

  EXPECT_EQ(result.output, "in pieces");
  EXPECT_THAT(result.error, HasSubstr("url: " + Url("/chunks") + "\n"));
}

TEST_F(QngetAtAnOrigin, FollowsARedirectWithItsCookie) {
  const ProcessResult result = RunQnget({"-i", "--user-agent", "handset", Url("/enter")});

  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output, "handset");
  EXPECT_THAT(result.error, HasSubstr("url: " + Url("/inside") + "\n"));
}

}  // namespace
}  // namespace qntest
