#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds and runs the consumers' programs, which get the library in one of the
# ways that users have: of the prefix WHERE it is installed, or out of the
# sources there.
# usage: consume.sh pkg_config|find_package|add_subdirectory WHERE
# CC, CXX, CFLAGS, CXXFLAGS and LDFLAGS hold as usual.
set -euo pipefail
way=$1 where=$(realpath "$2")
project=$(cd "$(dirname "$0")" && pwd)/$way

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# A program with shared libraries needs no development files of APR.
without_apr() { # COMMAND...
  PKG_CONFIG_LIBDIR=$scratch "$@"
}

build_with_make() { # FOLDER
  mkdir "$scratch/$1"
  make -s -C "$scratch/$1" -f "$project/Makefile" "$1"
}

build_with_cmake() { # FOLDER [ARGUMENT...]
  local folder=$scratch/$1
  shift
  { cmake -G Ninja -S "$project" -B "$folder" "$@" && cmake --build "$folder" --parallel "$(nproc)"; } \
    >"$scratch/log" || {
    cat "$scratch/log"
    return 1
  }
}

run_programs() { # FOLDER COUNT
  local program count=0
  for program in "$scratch/$1"/{consumer,keeper}*; do
    [[ -f $program ]] || continue
    mkdir "$scratch/kept"
    "$program" "$scratch/kept" >/dev/null || {
      echo "$way: ${program##*/} ends with $?"
      return 1
    }
    [[ $program != */keeper* || -s $scratch/kept/settings.ini ]] || {
      echo "$way: ${program##*/} kept nothing"
      return 1
    }
    rm -r "$scratch/kept"
    count=$((count + 1))
  done
  echo "$way, $1: $count programs"
  [[ $count -eq $2 ]]
}

case $way in
  pkg_config)
    library_folder=$(dirname "$(find "$where" -name libqnstack.so)")
    export PKG_CONFIG_PATH=$library_folder/pkgconfig
    # The tree stands where it says, whatever root other packages come from.
    unset PKG_CONFIG_SYSROOT_DIR
    without_apr build_with_make shared
    LD_LIBRARY_PATH=$library_folder${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} run_programs shared 4
    # A sanitizer's runtime is not for static programs.
    if [[ ${LDFLAGS:-} != *-fsanitize* ]]; then
      build_with_make static
      run_programs static 2
    fi
    ;;
  find_package)
    without_apr build_with_cmake shared -DCMAKE_PREFIX_PATH="$where"
    run_programs shared 4
    build_with_cmake both -DCMAKE_PREFIX_PATH="$where" -DSTATIC=ON
    run_programs both 8
    ;;
  add_subdirectory)
    build_with_cmake sources -DQNSTACK_SOURCES="$where"
    run_programs sources 8
    ;;
esac
