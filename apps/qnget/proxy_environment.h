// SPDX-License-Identifier: MIT
// The proxy that the environment names, as other clients read it too.
#ifndef QNGET_PROXY_ENVIRONMENT_H
#define QNGET_PROXY_ENVIRONMENT_H

#include "options.h"

namespace qnget {

/**
 * Puts into the options what http_proxy and no_proxy say. Throws Failure for an
 * http_proxy that cannot be asked, for nothing must go past a proxy that is
 * wanted.
 */
void TakeProxyFromEnvironment(Options &options);

}  // namespace qnget

#endif
