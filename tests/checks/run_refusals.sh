#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# ./run ends with one sentence, and has installed nothing, where words make no
# sense to it, where Debian's tools are missing, and where an installation would
# fail or change what is installed; and leaves nothing behind that keeps services
# from starting. Stand-ins of apt-get, dpkg-query and id play
# those machines; nothing of this one is touched.
# usage: run_refusals.sh ROOT
# shellcheck disable=SC2016  # words of the stand-ins, which they look at themselves
set -euo pipefail
cd "$1"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
bin=$scratch/bin calls=$scratch/calls
failed=0

# A program that is noted when it is called, and does what the script says.
stand_in() { # NAME SCRIPT
  rm -f "$bin/$1"
  printf '#!/bin/bash\necho "${0##*/} $*" >>%q\n%s\n' "$calls" "$2" >"$bin/$1"
  chmod +x "$bin/$1"
}

# A machine with root's rights and nothing installed, whose apt-get could
# install everything.
new_machine() {
  local name
  rm -rf "$bin"
  mkdir "$bin"
  for name in awk bash cat dirname env; do
    ln -s "$(command -v "$name")" "$bin/$name"
  done
  for name in apt-get chmod rm tee; do
    stand_in "$name" 'exit 0'
  done
  stand_in dpkg-query 'exit 1'
  stand_in id 'echo 0'
}

complain() { # WHAT
  printf '%s; it said:\n%s\n' "$1" "$said"
  failed=1
}

# What ./run says is one sentence that has the text, or begins with it.
expect() { # CODE TEXT WORD...
  local code=$1 text=$2 status=0
  shift 2
  : >"$calls"
  said=$(PATH=$bin ./run "$@" 2>&1 >/dev/null) || status=$?
  [[ $status -eq $code ]] || complain "./run $* should end with $code, not $status"
  [[ $said == "run: "*"$text"* ]] || complain "./run $* should say '$text'"
}

expect_one_sentence() { # CODE TEXT WORD...
  expect "$@"
  [[ $said != *$'\n'* ]] || complain "./run ${*:3} should say one sentence"
}

# Installing is the only call of apt-get that is no rehearsal.
expect_nothing_installed() {
  if grep '^apt-get .*install' "$calls" | grep -v -- --simulate; then
    complain "that should have installed nothing"
  fi
}

new_machine
for command in build check demo test sanitize memcheck bare docs small coverage tidy duplicates help; do
  expect_one_sentence 2 "'$command' takes no further word, not 'now'" "$command" now
done
expect_one_sentence 2 "'package' takes --chroot --twice, not '--chrot'" package --chrot
expect_one_sentence 2 "'abi' takes --update, not ''" abi ''
expect_one_sentence 2 "'portability' takes clang libc++ i386 arm64 armhf s390x files, not 'vax'" portability arm64 vax
expect_one_sentence 2 "'format' takes --check, not 'all'" format all
expect_one_sentence 2 "'bench' takes operations exchanges --keep, not '--quick'" bench --keep --quick
expect_one_sentence 2 "'full' takes seconds, not 'x'" full x
expect_one_sentence 2 "'full' takes no second word, '6'" full 5 6
expect_one_sentence 2 "'fuzz' takes seconds, not '0'" fuzz 0
expect_one_sentence 2 "there is no fuzzer 'nothing'" fuzz 5 url nothing
expect_one_sentence 2 "'mutants' takes a number of faults, not 'some'" mutants some
expect_one_sentence 2 "'mutants' takes a number of faults, not '0'" mutants 0
expect_one_sentence 2 "'mutants' takes a number as its seed, not 'x'" mutants 60 x
expect_one_sentence 2 "'mutants' takes no third word, '7'" mutants 60 5 7
expect 2 "no command 'demos'" demos
expect_nothing_installed

new_machine
rm "$bin/dpkg-query"
expect_one_sentence 1 "here is no dpkg" demo

new_machine
stand_in id 'echo 1000'
expect_one_sentence 1 "takes root or sudo" test
expect_nothing_installed

new_machine
stand_in apt-get '[[ $1 == update ]] || exit 100'
expect_one_sentence 1 "apt-get knows no such packages" demo
expect_nothing_installed

new_machine
stand_in apt-get '[[ $* != *--simulate* ]] || printf "Inst %s\n" "cmake (3.25)" "libold [1.0] (1.1)"; exit 0'
expect_one_sentence 1 "would upgrade or remove libold;" demo
expect_nothing_installed

new_machine
stand_in apt-get '[[ $* != *--simulate* ]] || printf "Remv libold [1.0]\n"; exit 0'
expect_one_sentence 1 "would upgrade or remove libold;" demo
expect_nothing_installed

new_machine
stand_in apt-get '[[ $1 == update || $* == *--simulate* ]] || exit 100'
expect_one_sentence 1 "apt-get could not install" demo
grep -v -- --simulate "$calls" | grep -q '^apt-get install .*--no-upgrade --no-remove .*ninja-build' ||
  complain "that should have tried to install, and to leave alone what is there"

new_machine
for name in sed sort tr; do
  ln -s "$(command -v "$name")" "$bin/$name"
done
: >"$calls"
missing=$(PATH=$bin ./run needs tidy)
[[ $missing == *clang-tidy*ninja-build* && $missing != *doxygen* ]] ||
  complain "./run needs tidy should list what tidy takes, not '$missing'"
expect_nothing_installed

for signal in HUP INT PIPE TERM; do
  new_machine
  stand_in apt-get "[[ \$1 == update || \$* == *--simulate* ]] || kill -$signal \$PPID"
  POLICY_FILE=$scratch/policy expect 1 "could not install" demo
  grep -qxF "tee $scratch/policy" "$calls" ||
    complain "services should be kept from starting"
  grep -qxF "rm -f $scratch/policy" "$calls" ||
    complain "SIG$signal should leave nothing that keeps services from starting"
done

exit "$failed"
