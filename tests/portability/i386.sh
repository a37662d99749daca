#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Prepares a folder for the 32-bit build: what the project needs of i386 in
# FOLDER/root, and compilers of that width in FOLDER/bin. The packages are
# fetched with package lists of their own and unpacked, not installed: the
# machine's architectures and packages stay as they are.
# usage: i386.sh FOLDER
set -euo pipefail
[[ $(dpkg --print-architecture) == amd64 ]] || {
  echo "i386.sh: the 32-bit build takes a Debian machine of the architecture amd64" >&2
  exit 1
}
mkdir -p "$1"
folder=$(realpath "$1")

packages=(libapr1 libapr1-dev libbrotli-dev libbrotli1 libcpp-httplib-dev libcpp-httplib0.11 libgmock-dev
  libgtest-dev libssl-dev libssl3 libuuid1 zlib1g zlib1g-dev)

apt_i386() {
  apt-get -q -o APT::Architecture=i386 -o APT::Architectures=i386 \
    -o Dir::State::Lists="$folder/lists" -o Dir::Cache="$folder/cache" \
    -o APT::Sandbox::User="$(id -un)" "$@"
}

fetch() {
  mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial" "$folder/packages"
  rm -f "$folder"/packages/*.deb
  # Some lists may be missing; what counts is whether the packages come.
  apt_i386 update >/dev/null 2>&1 || true
  (cd "$folder/packages" && apt_i386 download "${packages[@]}" >/dev/null)
}

unpack() {
  local package
  rm -rf "$folder/root"
  mkdir -p "$folder/root"
  for package in "$folder"/packages/*.deb; do
    dpkg -x "$package" "$folder/root"
  done
  # A link to the system's root leads into this one.
  ln -sf "../../../lib/i386-linux-gnu/libz.so.1" "$folder/root/usr/lib/i386-linux-gnu/libz.so"
}

# Compilers by a name of their own, so that scripts need no flags to call them.
write_compiler() { # NAME
  local include=$folder/root/usr/include library=$folder/root/usr/lib/i386-linux-gnu
  mkdir -p "$folder/bin"
  cat >"$folder/bin/$1" <<TEXT
#!/bin/sh
exec $1 -m32 "\$@" -idirafter $include/i386-linux-gnu -idirafter $include \\
  -Wl,-rpath-link,$library -Wl,-rpath-link,$folder/root/lib/i386-linux-gnu
TEXT
  chmod +x "$folder/bin/$1"
}

if [[ ! -e $folder/ready ]]; then
  fetch
  unpack
  touch "$folder/ready"
fi
write_compiler gcc
write_compiler g++
