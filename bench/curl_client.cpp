// SPDX-License-Identifier: MIT
// libcurl's easy interface as an application would use it for the same request.
#include <curl/curl.h>

#include <memory>
#include <string>
#include <string_view>

#include "clients.h"
#include "platform.h"

namespace bench {
namespace {

using Easy = std::shared_ptr<CURL>;
using Headers = std::shared_ptr<curl_slist>;

std::size_t Discard(char *, std::size_t size, std::size_t count, void *handed_out) {
  *static_cast<std::size_t *>(handed_out) += size * count;
  return size * count;
}

// The header lines of the composed request, but for the length, which libcurl
// writes itself; and without the line that it adds for a proxy.
Headers HeadersOf(const Exchange &exchange) {
  const std::string_view request(exchange.request);
  curl_slist *list = nullptr;
  std::size_t start = request.find("\r\n") + 2;
  while (!request.substr(start).starts_with("\r\n")) {
    const std::size_t end = request.find("\r\n", start);
    const std::string line(request.substr(start, end - start));
    if (!line.starts_with("Content-Length:")) list = curl_slist_append(list, line.c_str());
    start = end + 2;
  }
  if (exchange.through_proxy) list = curl_slist_append(list, "Proxy-Connection:");
  return {list, curl_slist_free_all};
}

Easy Prepare(const Exchange &exchange, const Headers &headers, const std::string &proxy) {
  Easy easy(curl_easy_init(), curl_easy_cleanup);
  if (easy == nullptr) Fail("libcurl gives no handle");
  curl_easy_setopt(easy.get(), CURLOPT_URL, exchange.url.c_str());
  curl_easy_setopt(easy.get(), CURLOPT_PROXY, proxy.c_str());  // "" is none
  curl_easy_setopt(easy.get(), CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_0);
  curl_easy_setopt(easy.get(), CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, Discard);
  if (!exchange.body.empty()) {
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDS, exchange.body.data());
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(exchange.body.size()));
  }
  return easy;
}

std::size_t Perform(const Easy &easy) {
  std::size_t handed_out = 0;
  curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &handed_out);
  return curl_easy_perform(easy.get()) == CURLE_OK ? handed_out : 0;
}

}  // namespace

Client CurlClient(const Exchange &exchange, Handle handle) {
  const Headers headers = HeadersOf(exchange);
  std::string proxy;
  if (exchange.through_proxy) {
    proxy = std::string("http://") + kOriginAddress + ":" + std::to_string(exchange.port);
  }
  if (handle == Handle::kFresh) {
    return [&exchange, headers, proxy] { return Perform(Prepare(exchange, headers, proxy)); };
  }
  // The list of headers must live as long as the handle that refers to it.
  return [easy = Prepare(exchange, headers, proxy), headers] { return Perform(easy); };
}

}  // namespace bench
