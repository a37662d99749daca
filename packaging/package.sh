#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Everything that a stranger may pick up, made and tried: an installed tree with
# the programs of its users, the libraries for another platform, and the Debian
# packages, looked at by lintian and run where they are unpacked.
# usage: package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build=$PWD/build/package

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

say() {
  printf -- '--- %s\n' "$1"
}

files_of() { # FOLDER
  (cd "$1" && find . ! -type d | sort)
}

# The four components are all there is to install, and share no file.
install_components() { # PREFIX
  local component
  for component in Runtime Development Tools Documentation; do
    cmake --install "$build" --prefix "$work/$component" --component "$component" >/dev/null
    files_of "$work/$component" >>"$work/by_component"
    printf '%-14s %s files\n' "$component" "$(files_of "$work/$component" | wc -l)"
  done
  cmake --install "$build" --prefix "$1" >/dev/null
  diff <(sort "$work/by_component") <(files_of "$1") || {
    echo "the components (<) and a whole installation (>) differ"
    return 1
  }
}

# The program keeps a setting and finds it again.
try_program() { # PREFIX
  local qnget=$1/bin/qnget store=$work/store
  LD_LIBRARY_PATH=$(dirname "$(find "$1" -name 'libqnstack.so.?')")
  export LD_LIBRARY_PATH
  "$qnget" --version
  "$qnget" --root "$store" config set proxy 127.0.0.1:8080 >/dev/null
  "$qnget" --root "$store" config get proxy | grep -qx 127.0.0.1:8080
  unset LD_LIBRARY_PATH
  rm -r "$store"
}

consume() { # WAY WHERE
  env -u CFLAGS -u CXXFLAGS -u LDFLAGS tests/consumers/consume.sh "$@"
}

# All have one version, that of the header, and say who answers for them.
show_packages() {
  local package version
  version=$(tests/checks/version.sh .)-1
  for package in "${packages[@]}"; do
    printf '%-16s %6s bytes, needs %s\n' "$(dpkg-deb -f "$package" Package)" \
      "$(stat -c %s "$package")" "$(dpkg-deb -f "$package" Depends)"
    [[ $(dpkg-deb -f "$package" Version) == "$version" ]] || {
      echo "this should have the version $version"
      return 1
    }
  done
  echo "version $version, contact $(dpkg-deb -f "${packages[0]}" Maintainer)"
  [[ ${#packages[@]} -eq 4 ]] || {
    echo "there should be four packages"
    return 1
  }
}

# A package that goes into no archive closes no bug of it. While the maintainer
# has filled in no contact, that of a commit's author need not be reached by mail.
lint() {
  local tags=initial-upload-closes-no-bugs
  if grep -q '^set(QNSTACK_CONTACT "")' packaging/maintainer.cmake; then
    echo "the contact is a commit's author: none stands in packaging/maintainer.cmake"
    tags+=,bogus-mail-host,root-in-contact
  fi
  lintian --allow-root --suppress-tags "$tags" --fail-on error,warning "${packages[@]}"
  echo "no error, no warning"
}

unpack() { # FOLDER
  local package
  for package in "${packages[@]}"; do
    dpkg-deb -x "$package" "$1"
    dpkg-deb --ctrl-tarfile "$package" | tar -xO ./md5sums | (cd "$1" && md5sum --check --quiet)
  done
}

# A platform without an operating system, from the same sources: its libraries, and
# what its tests do with them.
build_for_device() {
  local device=$PWD/build/device
  cmake -G Ninja -S . -B "$device" -DCMAKE_BUILD_TYPE=Release \
    -DQNSTACK_PLATFORM=examples/platform >/dev/null
  cmake --build "$device"
  ctest --test-dir "$device" --output-on-failure
  cmake --install "$device" --prefix "$work/device" >/dev/null
  files_of "$work/device" | grep -E '/libqnstack(_device)?\.(so|a)$'
}

say "build, and make the packages"
packaging/make.sh
packages=("$build"/*.deb)
say "install"
install_components "$work/prefix"
try_program "$work/prefix"
say "users' programs"
consume pkg_config "$work/prefix"
consume find_package "$work/prefix"
consume add_subdirectory .
say "another platform"
build_for_device
say "Debian packages"
show_packages
lint
say "unpacked"
unpack "$work/root"
try_program "$work/root/usr"
consume find_package "$work/root/usr"
echo "packages: ${packages[*]#"$PWD/"}"
