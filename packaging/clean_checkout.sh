#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What a stranger does first on a new machine, and how long it takes: the two
# commands of README in a fresh clone. clean_system.sh runs this in a system that
# has nothing else, with the repository in /given.
set -euo pipefail

export RUN_IS_HEARD=yes  # by the one that makes the system
times=()

timed() { # WHAT COMMAND...
  local what=$1 begin=$SECONDS
  shift
  echo "--- $what"
  "$@"
  times+=("| $what | $((SECONDS - begin)) s |")
}

get_clone() {
  apt-get install -q -y --no-install-recommends git ca-certificates
  git clone -q /given/qnstack.git /root/qnstack
}

# As README tells it, up to a program that finds its library.
install_by_cmake() {
  cmake -G Ninja -S . -B build/install -DCMAKE_BUILD_TYPE=Release -DQNSTACK_BUILD_TESTS=OFF
  cmake --build build/install
  cmake --install build/install --prefix /usr/local >/dev/null
  ldconfig
  awk '/^```c$/ { on = 1; next } /^```$/ && on { exit } on' README.md >/tmp/fetch.c
  # shellcheck disable=SC2046  # several flags
  cc -o /tmp/fetch /tmp/fetch.c $(pkg-config --cflags --libs qnstack_posix)
  local code=0
  (cd /tmp && ./fetch) || code=$?
  [[ $code -eq 2 ]]  # it starts, and wants a URL
  qnget --version
}

timed "a clone, with git" get_clone
cd /root/qnstack
timed "./run demo" ./run demo
timed "./run test" ./run test
echo "build/ takes $(du -sh build | cut -f1)"
timed "an installation by CMake alone" install_by_cmake
echo "--- times on $(nproc) processors, with what each installs and builds"
printf '%s\n' "${times[@]}"
