// SPDX-License-Identifier: MIT
#include "integration/peers_configuration.h"

namespace qntest {
namespace {

constexpr char kOrigin[] = R"(
daemon off;
master_process off;
pid $FOLDER/nginx.pid;
error_log stderr error;
events { worker_connections 64; }
http {
  access_log off;
  default_type application/octet-stream;
  types { text/plain txt; }
  client_max_body_size 16m;
  client_body_temp_path $FOLDER/bodies;
  proxy_temp_path $FOLDER/nginx-proxy;
  fastcgi_temp_path $FOLDER/nginx-fastcgi;
  uwsgi_temp_path $FOLDER/nginx-uwsgi;
  scgi_temp_path $FOLDER/nginx-scgi;
  log_not_found off;
  server {
    listen 127.0.0.1:$PORT;
    root $FOLDER/files;

    location = /seen {
      default_type text/plain;
      return 200 "$request_method $request_uri agent=$http_user_agent profile=$http_profile cookie=$http_cookie via=$http_via";
    }
    location ~ ^/moved/301(/.*) { return 301 $1; }
    location ~ ^/moved/302(/.*) { return 302 $1; }
    location ~ ^/moved/307(/.*) { return 307 $1; }
    location = /login {
      add_header Set-Cookie "sid=abc; Path=/";
      return 302 /seen;
    }
    location /slow/ {
      alias $FOLDER/files/;
      limit_rate 600k;
      limit_rate_after 1k;
    }
    location /zipped/ {
      proxy_pass http://127.0.0.1:$PORT/zippable/;
      proxy_http_version 1.1;
      proxy_set_header Accept-Encoding gzip;
    }
    location /zippable/ {
      alias $FOLDER/files/;
      gzip on;
      gzip_types text/plain;
      gzip_proxied any;
    }
    location = /keep {
      client_body_in_file_only on;
      proxy_pass http://127.0.0.1:$PORT/kept;
      proxy_pass_request_body off;
      proxy_set_header Content-Length "";
      proxy_set_header X-File $request_body_file;
    }
    location = /kept { return 200 $http_x_file; }
    location /put/ {
      alias $FOLDER/put/;
      dav_methods PUT;
    }
  }
}
)";

constexpr char kTinyproxy[] = R"(
Port $PORT
Listen 127.0.0.1
Allow 127.0.0.1
Timeout 10
MaxClients 20
LogFile "$FOLDER/tinyproxy.log"
LogLevel Warning
ViaProxyName "small-gateway"
)";

constexpr char kSquid[] = R"(
http_port 127.0.0.1:$PORT
visible_hostname big-gateway
http_access allow all
cache deny all
cache_mem 0
memory_cache_shared off
access_log none
cache_store_log none
cache_log $FOLDER/squid/cache.log
pid_filename $FOLDER/squid/squid.pid
coredump_dir $FOLDER/squid
netdb_filename none
pinger_enable off
dns_nameservers 127.0.0.1
shutdown_lifetime 0 seconds
)";

void ReplaceAll(std::string &text, const std::string &word, const std::string &by) {
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at)) {
    text.replace(at, word.size(), by);
    at += by.size();
  }
}

std::string Filled(std::string text, const std::string &folder, int port) {
  ReplaceAll(text, "$FOLDER", folder);
  ReplaceAll(text, "$PORT", std::to_string(port));
  return text;
}

}  // namespace

std::string OriginConfiguration(const std::string &folder, int port) {
  return Filled(kOrigin, folder, port);
}

std::string TinyproxyConfiguration(const std::string &folder, int port) {
  return Filled(kTinyproxy, folder, port);
}

std::string SquidConfiguration(const std::string &folder, int port) {
  return Filled(kSquid, folder, port);
}

}  // namespace qntest
