#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Makes a minimal Debian system in a folder of its own, runs a program of this
# project there as root, and takes the system away again, whatever becomes of
# the program. Wants root; the system comes from the mirror that apt on this
# machine uses.
# usage: clean_system.sh PROGRAM [FILE...]   PROGRAM finds the files in /given
set -euo pipefail
own=$(realpath "$0")

# --- outside: the folder, and a namespace for mounts and processes -----------

keeper=''
place=''

# The first process of a namespace takes all others with it, and with the last
# one its mounts are gone.
# shellcheck disable=SC2317  # a trap calls it
clear_away() {
  local first
  if [[ -n $keeper && -e /proc/$keeper ]]; then
    first=$(cat "/proc/$keeper/task/$keeper/children")
    # shellcheck disable=SC2086  # none or one, with a blank behind it
    kill -KILL ${first:-"$keeper"} || true
    wait "$keeper" || true
  fi 2>/dev/null
  rm -rf --one-file-system "$place"
}

keep_system() { # PROGRAM [FILE...]
  trap clear_away EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM HUP
  # Devices must work there, which the temporary folders of a machine may forbid.
  place=$(mktemp -d /var/tmp/clean-system.XXXXXX)
  # In a job of its own, so that it heeds the same signals as any program.
  set -m
  setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child \
    "$own" --within "$place" "$@" </dev/null &
  keeper=$!
  set +m
  wait "$keeper"
}

# --- within: the system ------------------------------------------------------

# Site, release and component of each of Debian's own lists of packages.
# shellcheck disable=SC2016  # apt's own variables
sources() {
  apt-get indextargets --format '$(ORIGIN) $(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    sed -n 's/^Debian //p' | sort -u
}

# The release that apt on this machine takes its base system from.
base() {
  local release
  # shellcheck source=/dev/null
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  sources | awk -v release="$release" '$2 == release && $3 == "main" { print $2, $1; exit }'
}

# How apt on this machine reaches the network, and which dates it takes.
apt_habits() {
  apt-config dump Acquire | grep -E '^Acquire::(http|https|Retries|Force|Check)' || true
  [[ -z ${http_proxy:-} ]] || echo "Acquire::http::Proxy \"$http_proxy\";"
}

make_system() {
  local release mirror
  read -r release mirror < <(base) || {
    echo "apt on this machine knows no mirror of Debian; apt-get update may help" >&2
    return 1
  }
  debootstrap --variant=minbase "$release" "$root" "$mirror" >"$place/log" 2>&1 || {
    tail -n 20 "$place/log"
    return 1
  }
  sources | sed 's/^/deb /' >"$root/etc/apt/sources.list"
  apt_habits >"$root/etc/apt/apt.conf.d/00outside"
  # Every installed system has these.
  printf '127.0.0.1 localhost\n::1 localhost\n' >"$root/etc/hosts"
}

mount_system_folders() {
  mount -t proc proc "$root/proc"
  mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts "$root/dev/pts"
  mkdir -p "$root/dev/shm"
  mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
}

in_system() { # COMMAND...
  chroot "$root" env -i HOME=/root \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    DEBIAN_FRONTEND=noninteractive "$@"
}

run_within() { # PLACE PROGRAM [FILE...]
  place=$1 root=$1/root
  shift
  mkdir "$root"
  echo "--- a minimal system"
  make_system
  mount_system_folders
  mkdir "$root/given"
  cp -r --no-preserve=ownership "$@" "$root/given"
  in_system apt-get update -q
  in_system bash "/given/$(basename "$1")"
}

main() {
  if [[ ${1:-} == --within ]]; then
    run_within "${@:2}"
  else
    keep_system "$@"
  fi
}

main "$@"; exit
