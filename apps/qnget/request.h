// The request as it goes out, as far as others must know it.
#ifndef QNGET_REQUEST_H
#define QNGET_REQUEST_H

#include <vector>

#include "answer_head.h"
#include "options.h"

namespace qnget {

/**
 * The header fields that say what the requests of these options want and from
 * whom they come: those given, and the library's defaults for the others. Comes
 * before the Stack is started, whose header table it empties.
 */
std::vector<HeaderField> RequestFields(const Options &options);

}  // namespace qnget

#endif
