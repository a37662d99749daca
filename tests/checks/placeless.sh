#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# FILE names none of the folders, so that it comes out the same wherever these
# sources are built.
# usage: placeless.sh FILE FOLDER...
set -euo pipefail
file=$1
shift
for folder in "$@"; do
  ! grep -aqF -- "$folder" "$file" || {
    echo "$file names the folder $folder:"
    strings -- "$file" | grep -F -- "$folder"
    exit 1
  }
done
echo "$file names no folder of its build"
