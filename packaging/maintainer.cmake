# SPDX-License-Identifier: MIT
# Who answers for the packages, and where they come from. Both are for the
# maintainer to fill in, here and nowhere else.

# "Name <address>", where reports of security faults go too (SECURITY.md). While it
# is empty the author of the last commit is named.
set(QNSTACK_CONTACT "")

# A URL. While it is empty the packages name none.
set(QNSTACK_HOMEPAGE "")
