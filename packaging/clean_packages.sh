#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the packages with apt-get, runs the program, builds users' programs
# and the packaged examples, and removes it all again. clean_system.sh runs this
# in a system that has nothing else, with packages and consumers in /given.
set -euo pipefail
cd /given
work=$(mktemp -d)

quietly() { # COMMAND...
  "$@" >"$work/log" 2>&1 || {
    tail -n 40 "$work/log"
    return 1
  }
}

install_packages() {
  quietly apt-get install -y --no-install-recommends ./*.deb
  # shellcheck disable=SC2016  # dpkg's own variables
  dpkg-query -W -f '${Package} ${Version} ${db:Status-Status}\n' 'libqnstack*' qnget qnstack-doc
  qnget --version
  ldconfig -p | grep qnstack
}

build_consumers() {
  quietly apt-get install -y --no-install-recommends g++ make pkgconf
  mkdir "$work/consumers" "$work/kept"
  make -s -C "$work/consumers" -f /given/consumers/pkg_config/Makefile shared
  (cd "$work/consumers" && ./consumer_c && ./consumer_cpp && ./consumer_face && ./keeper "$work/kept") >/dev/null
  [[ -s $work/kept/settings.ini ]]
  echo "4 programs of a user, without APR's development files"
}

# In C99 and C++17, with the files below $work; with all of its warnings.
build_example() { # SOURCE
  local compile=(cc -std=c99)
  [[ $1 != *.cpp ]] || compile=(c++ -std=c++17)
  # shellcheck disable=SC2046  # several flags
  "${compile[@]}" -Wall -Wextra -Wconversion -Werror -pedantic "$1" -o "$work/$(basename "$1")" \
    $(pkg-config --cflags --libs qnstack_posix)
}

build_examples() {
  local source count=0
  for source in /usr/share/doc/qnstack-doc/examples/*.{c,cpp}; do
    build_example "$source"
    count=$((count + 1))
  done
  # One that needs no server: what it keeps for an operator is there when it starts again.
  "$work/settings.c" "$work" red Accept text/x-kept >/dev/null
  "$work/settings.c" "$work" red | grep -q 'text/x-kept'
  echo "$count examples built"
}

remove_packages() {
  local left
  quietly apt-get purge -y qnget libqnstack-dev libqnstack1 qnstack-doc
  left=$(find / -xdev -name '*qnstack*' -o -xdev -name '*qnget*' | grep -v '^/given' || true)
  [[ -z $left ]] || {
    printf 'left behind:\n%s\n' "$left"
    return 1
  }
  echo "removed, nothing left behind"
}

echo "--- packages installed"
install_packages
echo "--- users' programs, and the examples"
build_consumers
build_examples
echo "--- packages removed"
remove_packages
