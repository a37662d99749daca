#!/usr/bin/env bash
# What help2man asks a program for: qnget's own help and version, laid out as it
# reads them best. All texts are the program's.
# usage: QNGET=PROGRAM qnget_help.sh --help|--version
set -euo pipefail

# The commands of the settings, each with its arguments and what it does.
settings() {
  local command
  for command in $("$QNGET" config --help | awk '/^Subcommands:/ { on = 1; next } !/^  / { on = 0 } on { print $1 }'); do
    "$QNGET" config "$command" --help | awk '
      NR == 1 { does = $0 }
      /^Usage:/ { sub(/^Usage: qnget /, ""); sub(/ \[OPTIONS\]/, ""); print "  " $0 "  " does; exit }'
  done
}

case $1 in
  --version)
    "$QNGET" --version
    ;;
  --help)
    { settings; echo "--- qnget"; "$QNGET" --help; } | awk '
      # Descriptions start at a column, or on the next line behind a long name.
      BEGIN { column = 30 }
      /^--- qnget$/ { own = 1; next }
      !own { commands = commands $0 "\n"; next }

      /^Usage:/ { print "Usage: qnget [OPTIONS] URL\n  or:  qnget [OPTIONS] config COMMAND"; next }
      /^Positionals:/ { print "Arguments:"; next }
      /^Subcommands:/ { printf "Settings:\n%s", commands; skip = 1; next }
      skip && /^  / { next }
      { skip = 0 }
      /^  [-A-Z]/ {
        name = length($0) > column && substr($0, column, 1) == " " ? substr($0, 1, column) : $0
        text = substr($0, length(name) + 1)
        condition = ""
        if (match(name, / (Needs|Excludes): .*/)) {
          condition = " (" tolower(substr(name, RSTART + 1)) ")"
          name = substr(name, 1, RSTART - 1)
        }
        sub(/:[{].*/, "", name)
        sub(/^  URL TEXT/, "  URL", name)
        sub(/,--/, ", --", name)
        sub(/ *$/, "", name)
        printf "%s\n", name
        if (text != "") printf "%*s%s\n", column, "", text
        next
      }
      condition != "" { print $0 condition; condition = ""; next }
      { print }'
    ;;
esac
