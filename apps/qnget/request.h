// SPDX-License-Identifier: MIT
// What is asked for on one hop, and the header fields that go with it.
#ifndef QNGET_REQUEST_H
#define QNGET_REQUEST_H

#include <string>
#include <vector>

#include "answer_head.h"
#include "options.h"
#include "url.h"

namespace qnget {

struct Request {
  std::string method;  // GET, HEAD, POST or PUT
  Url url{};
  bool with_body = false;
};

/** Why "Name: value" cannot go with a request; empty if it can. */
std::string CheckHeaderLine(const std::string &line);

/** Takes a checked line apart. */
HeaderField ReadHeaderLine(const std::string &line);

/**
 * The fields that requests carry for the handset and by the user's wish, in their
 * order on the wire and with the library's defaults. They lack what the library
 * writes from the URL, the body and its cookies. Empties the library's table, so
 * it is not to be called between WriteHeaderTable() and a request.
 */
std::vector<HeaderField> RequestFields(const Options &options);

/** Takes away what must not reach another server than the first. */
void DropPrivateFields(std::vector<HeaderField> &fields);

/** Why the library cannot carry these fields, with more to come or not; empty if it can. */
std::string ProblemOfFields(const std::vector<HeaderField> &fields, bool more_to_come);

/** Lets the library's next requests carry these fields and no others. */
void WriteHeaderTable(const std::vector<HeaderField> &fields);

}  // namespace qnget

#endif
