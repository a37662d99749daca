#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What help2man asks a program for: qnget's own help and version, cut up into the
# sections of a manual page. All texts are the program's.
# usage: QNGET=PROGRAM qnget_help.sh --help|--version
set -euo pipefail

# The part of a help from a heading to the next empty line, without the heading.
section() { # HEADING
  awk -v heading="$1" '$0 == heading { on = 1; next } on && /^$/ { exit } on { print }'
}

# The commands of the settings, each with its arguments and what it does, and
# what can be set.
settings() {
  local command
  echo "Settings:"
  for command in $("$QNGET" config --help | section "Commands:" | awk '{ print $1 }'); do
    "$QNGET" config "$command" --help | awk '
      NR == 1 { does = $0 }
      /^Usage:/ { sub(/^Usage: qnget /, ""); sub(/ \[OPTIONS\]/, ""); print "  " $0 "  " does; exit }'
  done
  printf '\nKeys, each the name of an option:\n\n'
  "$QNGET" config set --help | section "Keys, each the name of an option:"
}

case $1 in
  --version)
    "$QNGET" --version
    ;;
  --help)
    # The commands follow in full, and the examples of the page are its own.
    "$QNGET" --help | awk '
      /^Commands:$/ || /^Examples:$/ { skip = 1 }
      skip && /^$/ { skip = 0; next }
      skip { next }
      /^Request:$/ { print "Options:\n" }
      { print }'
    echo
    settings
    ;;
esac
