#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Prepares a folder for building for another machine: what the project needs of
# that machine in FOLDER/root, and compilers for it in FOLDER/bin. All packages
# are fetched with package lists of their own and unpacked, not installed: the
# architectures and packages of this machine stay as they are.
# usage: machine.sh i386|arm64|armhf|s390x FOLDER
set -euo pipefail
[[ $(dpkg --print-architecture) == amd64 ]] || {
  echo "machine.sh: builds for other machines take a Debian machine of the architecture amd64" >&2
  exit 1
}
readonly machine=$1
mkdir -p "$2"
folder=$(realpath "$2")

# Debian's compilers for other machines exclude those for 32 bits of this one, so
# they are unpacked too.
readonly version=12
case $machine in
  i386) triplet=i386-linux-gnu ;;
  arm64) triplet=aarch64-linux-gnu ;;
  armhf) triplet=arm-linux-gnueabihf ;;
  s390x) triplet=s390x-linux-gnu ;;
  *)
    echo "machine.sh: no machine '$machine'" >&2
    exit 2
    ;;
esac
readonly root=$folder/root tools=$folder/tools
libraries=(libapr1 libapr1-dev libbrotli-dev libbrotli1 libcpp-httplib-dev libcpp-httplib0.11 libgmock-dev
  libgtest-dev libssl-dev libssl3 libuuid1 zlib1g zlib1g-dev)
platform=(libc6 libc6-dev libcli11-dev libcrypt1 libgcc-"$version"-dev libgcc-s1
  libstdc++-"$version"-dev libstdc++6 linux-libc-dev)
compilers=({cpp,g++,gcc}-"$version-$triplet" "binutils-$triplet")

apt_of() { # ARCHITECTURE WORD...
  local lists=$folder/lists/$1 cache=$folder/cache/$1
  mkdir -p "$lists/partial" "$cache/archives/partial"
  apt-get -q -o APT::Architecture="$1" -o APT::Architectures="$1" \
    -o Dir::State::Lists="$lists" -o Dir::Cache="$cache" \
    -o APT::Sandbox::User="$(id -un)" "${@:2}"
}

# As on an installed machine, what packages have in /lib goes into /usr/lib. An
# emulated loader looks there alone for some of it, and else into this machine's
# cache of libraries.
fetch() { # ARCHITECTURE INTO PACKAGE...
  local package packages=$folder/packages
  rm -rf "$packages" "$2"
  mkdir -p "$packages" "$2"/{etc,usr/lib}
  ln -s usr/lib "$2/lib"
  : >"$2/etc/ld.so.cache"
  # Some lists may be missing; what counts is whether the packages come.
  apt_of "$1" update >/dev/null 2>&1 || true
  (cd "$packages" && apt_of "$1" download "${@:3}" >/dev/null)
  for package in "$packages"/*.deb; do
    dpkg --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$2"
  done
  rm -rf "$packages" "$folder/lists" "$folder/cache"
}

# A link to the system's root leads into the folder's.
keep_links_inside() {
  local link
  find "$root" -type l -lname '/*' -print0 | while IFS= read -rd '' link; do
    ln -sfrT "$root$(readlink "$link")" "$link"
  done
}

# Tools by a name of their own, so that scripts need no flags to call them.
write_tool() { # NAME COMMAND...
  mkdir -p "$folder/bin"
  printf '#!/bin/sh\nexec %s\n' "${*:2}" >"$folder/bin/$1"
  chmod +x "$folder/bin/$1"
}

# This machine's compilers, which have a C library of 32 bits beside them.
write_tools_of_this_machine() {
  local name paths=$root/usr/lib/$triplet
  for name in gcc g++; do
    write_tool "$name" "$name -m32 \"\$@\" -idirafter $root/usr/include/$triplet" \
      "-idirafter $root/usr/include -Wl,-rpath-link,$paths -Wl,-rpath-link,$root/lib/$triplet"
  done
}

write_tools() {
  local name flags="--sysroot=$root -B $root/usr/lib/gcc/$triplet/$version"
  local start="env LD_LIBRARY_PATH=$tools/usr/lib/x86_64-linux-gnu $tools/usr/bin/$triplet"
  local headers=$root/usr/include
  write_tool gcc "$start-gcc-$version $flags \"\$@\""
  write_tool g++ "$start-g++-$version $flags -nostdinc++ -isystem $headers/c++/$version" \
    "-isystem $headers/$triplet/c++/$version \"\$@\""
  for name in ar nm ranlib; do
    write_tool "$name" "$start-$name \"\$@\""
  done
}

if [[ ! -e $folder/ready ]]; then
  if [[ $machine == i386 ]]; then
    fetch i386 "$root" "${libraries[@]}"
  else
    fetch "$machine" "$root" "${libraries[@]}" "${platform[@]}"
    fetch amd64 "$tools" "${compilers[@]}"
  fi
  keep_links_inside
  touch "$folder/ready"
fi
if [[ $machine == i386 ]]; then
  write_tools_of_this_machine
else
  write_tools
fi
