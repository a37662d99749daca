// SPDX-License-Identifier: MIT
// The configuration files of the peers: everything inside `folder`, nothing
// listening beside the loopback `port`, no name ever asked for.
#ifndef QNSTACK_TESTS_INTEGRATION_PEERS_CONFIGURATION_H
#define QNSTACK_TESTS_INTEGRATION_PEERS_CONFIGURATION_H

#include <string>

namespace qntest {

// The origin, nginx. Besides the files in "files" it answers to
//   /seen       with the request as it saw it, in one line,
//   /moved/N/P  with a redirect of status N to /P,
//   /login      with a cookie and a redirect to /seen,
//   /zipped/F   with the file F compressed, without its length,
//   /slow/F     with the file F at a limited rate,
//   /keep       with the name of a file that holds the request's body.
// What is put to /put/F stands in the file "put/F".
std::string OriginConfiguration(const std::string &folder, int port);

// The gateways. Squid keeps nothing and ends at once when it is asked to.
std::string TinyproxyConfiguration(const std::string &folder, int port);
std::string SquidConfiguration(const std::string &folder, int port);

}  // namespace qntest

#endif
