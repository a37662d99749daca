// SPDX-License-Identifier: MIT
// Does what fetch.c does, and writes nothing of an answer that was cut:
//
//     fetch_cpp URL FILE [PROXY-HOST PROXY-PORT]
#include <fstream>
#include <iostream>
#include <string>

#include "qnstack/qnstack.hpp"

int main(int argc, char **argv) {
  if (argc != 3 && argc != 5) {
    std::cerr << "usage: fetch_cpp URL FILE [PROXY-HOST PROXY-PORT]\n";
    return 2;
  }
  qnstack::Stack stack;
  if (argc == 5) stack.SetProxy(argv[3], fnQN_ATOI(argv[4]));
  auto context = qnstack::OpenGet(argv[1]);
  std::string body;
  const qnstack::Result result = qnstack::ReadBody(context, body);
  if (result == qnstack::Result::kCut) {
    std::cerr << "cut after " << body.size() << " bytes\n";
    return 1;
  }
  if (result != qnstack::Result::kDone) {
    std::cerr << "failed in state " << static_cast<int>(qnstack::StateOf(context)) << "\n";
    return 1;
  }
  const char *type = context->retCtxType;
  std::cerr << "status " << context->retValue << ", " << (type ? type : "no type") << "\n";
  return std::ofstream(argv[2], std::ios::binary) << body << std::flush ? 0 : 1;
}
