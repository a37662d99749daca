#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every source, header and script names the licence in its first lines.
# usage: licence_lines.sh ROOT
set -euo pipefail
cd "$1"

git rev-parse --git-dir >/dev/null 2>&1 || {
  echo "no git repository that could tell the sources from other files"
  exit 77
}
patterns=('*.c' '*.cpp' '*.h' '*.hpp' '*.sh' '*.bash' '*.zsh' '*.py' '*.jq' '*.gnuplot' '*.cmake'
  '*CMakeLists.txt' '*Makefile' run .ci/run apps/qnget/completion/_qnget)

# -z: names as they are.
git ls-files -z --cached --others --exclude-standard -- "${patterns[@]}" | xargs -0 awk '
  function judge() {
    if (name != "" && !named) { print name ": no licence line at its top"; bad = 1 }
  }
  FNR == 1 { judge(); name = FILENAME; named = 0; files++ }
  FNR <= 2 && /SPDX-License-Identifier: MIT( \*\/)?$/ { named = 1 }
  END { judge(); print files + 0 " files"; exit bad || files == 0 }'
