#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds with other compilers and for other machines, and runs the tests there;
# machines that are not this one are emulated. The word `files` has the files of
# each machine read by every other. Prints what was left out and a table.
# usage: machines.sh clang|libc++|i386|arm64|armhf|s390x|files...
set -euo pipefail
cd "$(dirname "$0")/../.."

readonly here=tests/portability reports=build/portability
readonly libraries=build/machines/i386/root
mkdir -p "$reports"
failed=0 rows=()

preset_of() { # WORD
  case $1 in
    i386) echo m32 ;;
    libc++) echo libcxx ;;
    *) echo "$1" ;;
  esac
}

described() { # WORD
  case $1 in
    clang) echo "x86-64, Clang" ;;
    libc++) echo "x86-64, Clang with libc++" ;;
    i386) echo "i386, GCC" ;;
    *) echo "$1, GCC, emulated" ;;
  esac
}

prepare() { # WORD
  case $1 in
    i386 | arm64 | armhf | s390x) "$here/machine.sh" "$1" "build/machines/$1" ;;
    libc++) "$here/libcxx_gtest.sh" build/machines/libcxx ;;
  esac
}

# The tests to leave out, and what is said of them.
left_out() { # WORD
  awk -v word="$1" '!/^#/ && NF > 0 && $1 ~ "(^|,)" word "(,|$)"' "$here/left_out.txt"
}

build() { # PRESET [TARGET]
  echo "run: building, preset $1"
  cmake --preset "$1" >/dev/null
  cmake --build --preset "$1" --parallel "$(nproc)" ${2:+--target "$2"}
}

# What CTest is not to start, and which tests programs are not to run.
left_out_entries() { # WORD
  left_out "$1" | awk '$2 ~ /^\[/ { gsub(/[][]/, "", $2); printf "%s^%s$", gap, $2; gap = "|" }'
}

left_out_tests() { # WORD
  left_out "$1" | awk '$2 !~ /^\[/ { printf "%s%s", gap, $2; gap = ":" }'
}

run_tests() { # WORD PRESET
  local entries tests
  entries=$(left_out_entries "$1") tests=$(left_out_tests "$1")
  rm -rf "build/$2/reports"
  GTEST_FILTER="*${tests:+-$tests}" ctest --preset "$2" --parallel "$(nproc)" \
    ${entries:+--exclude-regex "$entries"}
}

# A row of the table, from what the programs have reported.
count() { # WORD PRESET SECONDS
  local ran failed skipped
  read -r ran failed skipped < <(tests/results.sh "build/$2")
  rows+=("| $(described "$1") | $ran | $((ran - failed - skipped)) | $failed | $skipped | $(minutes "$3") |")
}

minutes() { # SECONDS
  awk -v seconds="$1" 'BEGIN { printf "%.1f", seconds / 60 }'
}

test_on() { # WORD
  local preset begin=$SECONDS
  preset=$(preset_of "$1")
  if ! { prepare "$1" && build "$preset"; }; then
    failed=1
    rows+=("| $(described "$1") | not built | | | | |")
    return
  fi
  echo "run: testing, preset $preset"
  run_tests "$1" "$preset" || {
    failed=1
    rows+=("| $(described "$1"): failed, see build/$preset/Testing/Temporary/LastTest.log | | | | | |")
  }
  count "$1" "$preset" $((SECONDS - begin))
}

# What the program `crossing` is started by.
crossing_of() { # PRESET
  local emulated=build/$1/emulated/crossing
  if [[ -e $emulated ]]; then echo "$emulated"; else echo "build/$1/tests/portability/crossing"; fi
}

carry_files() {
  local machine preset programs=() begin=$SECONDS
  for machine in x86-64 i386 arm64 armhf s390x; do
    preset=$(preset_of "${machine/x86-64/release}")
    prepare "$machine"
    build "$preset" crossing
    programs+=("$machine=$(crossing_of "$preset")")
  done
  printf '\n| File | SHA-256 |\n|---|---|\n'
  LD_LIBRARY_PATH=$libraries/usr/lib/i386-linux-gnu:$libraries/lib/i386-linux-gnu \
    "$here/crossing.sh" "$reports/files" "${programs[@]}" || failed=1
  echo "files: $(minutes $((SECONDS - begin))) minutes"
}

for word in "$@"; do
  if [[ $word == files ]]; then carry_files; else test_on "$word"; fi
done

for word in "$@"; do
  [[ -z $(left_out "$word") ]] || printf '\nLeft out on %s:\n%s\n' "$word" "$(left_out "$word" | cut -d' ' -f2-)"
done
if [[ ${#rows[@]} -gt 0 ]]; then
  printf '\n| Machine | Tests run | Passed | Failed | Skipped | Minutes |\n|---|---|---|---|---|---|\n'
  printf '%s\n' "${rows[@]}"
fi
exit "$failed"
