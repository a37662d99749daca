#!/usr/bin/env bash
# Everything that a stranger may pick up, made and tried: an installed tree with
# the programs of its users, and the Debian packages, looked at by lintian and
# run where they are unpacked; with --chroot also installed in a clean system.
# usage: package.sh [--chroot]
set -euo pipefail
cd "$(dirname "$0")/.."
build=$PWD/build/package

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

say() {
  printf -- '--- %s\n' "$1"
}

# With the compiler's flags of Debian's own packages; static libraries keep no
# debug information.
build_all() {
  local flags
  flags=$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --export=sh)
  (
    eval "$flags"
    export CFLAGS="$CFLAGS $CPPFLAGS -g0" CXXFLAGS="$CXXFLAGS $CPPFLAGS -g0"
    cmake --preset package --fresh
    cmake --build --preset package --parallel "$(nproc)"
  ) >"$work/build.log" 2>&1 || {
    cat "$work/build.log"
    return 1
  }
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

make_packages() {
  rm -f "$build"/*.deb
  (cd "$build" && cpack -G DEB) >"$work/cpack.log" 2>&1 || {
    cat "$work/cpack.log"
    return 1
  }
  packages=("$build"/*.deb)
  local package
  for package in "${packages[@]}"; do
    printf '%-16s %6s bytes, needs %s\n' "$(dpkg-deb -f "$package" Package)" \
      "$(stat -c %s "$package")" "$(dpkg-deb -f "$package" Depends)"
  done
  [[ ${#packages[@]} -eq 3 ]] || {
    echo "there should be three packages"
    return 1
  }
}

# A package that goes into no archive closes no bug of it.
lint() {
  lintian --allow-root --suppress-tags initial-upload-closes-no-bugs \
    --fail-on error,warning "${packages[@]}"
  echo "no error, no warning"
}

unpack() { # FOLDER
  local package
  for package in "${packages[@]}"; do
    dpkg-deb -x "$package" "$1"
    dpkg-deb --ctrl-tarfile "$package" | tar -xO ./md5sums | (cd "$1" && md5sum --check --quiet)
  done
}

say "build"
build_all
say "install"
install_components "$work/prefix"
try_program "$work/prefix"
say "users' programs"
consume pkg_config "$work/prefix"
consume find_package "$work/prefix"
consume add_subdirectory .
say "Debian packages"
make_packages
lint
say "unpacked"
unpack "$work/root"
try_program "$work/root/usr"
consume find_package "$work/root/usr"
if [[ ${1:-} == --chroot ]]; then
  say "installed in a clean system"
  packaging/chroot.sh "${packages[@]}"
fi
echo "packages: ${packages[*]#"$PWD/"}"
