#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Prints the time that all carries which is made of these sources, so that it
# comes out the same whenever it is made: SOURCE_DATE_EPOCH if that is set, else
# the time of the last commit, else that of the changelog. In seconds.
set -euo pipefail
cd "$(dirname "$0")/.."
echo "${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CHANGELOG.md)}"
