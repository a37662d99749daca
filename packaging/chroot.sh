#!/usr/bin/env bash
# Installs the packages in a clean Debian system of their own with apt-get, runs
# the program there, builds and runs a user's programs, and removes it all again.
# Wants root, and takes some minutes: the system comes from the mirror that apt
# on this machine uses.
# usage: chroot.sh PACKAGE...
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)

root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
work=$root/tmp/packages

# Site, release and component of each list of packages.
# shellcheck disable=SC2016  # apt's own variables
sources() {
  apt-get indextargets --format '$(SITE) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' | sort -u
}

# The release that apt on this machine takes its base system from.
base() {
  local release
  # shellcheck source=/dev/null
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  sources | awk -v release="$release" '$2 == release && $3 == "main" { print $2, $1; exit }'
}

inside() { # COMMAND...
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}

quietly() { # COMMAND...
  "$@" >"$root/tmp/log" 2>&1 || {
    tail -n 40 "$root/tmp/log"
    return 1
  }
}

make_system() {
  local release mirror
  read -r release mirror < <(base)
  debootstrap --variant=minbase "$release" "$root" "$mirror" >"$here/build/package/debootstrap.log" ||
    { tail -n 20 "$here/build/package/debootstrap.log"; return 1; }
  sources | sed 's/^/deb /' >"$root/etc/apt/sources.list"
  quietly inside apt-get update
}

build_programs() {
  quietly inside apt-get install -y --no-install-recommends g++ make pkgconf
  cp -r "$here/tests/consumers" "$work/consumers"
  inside make -s -C "$work_inside" -f consumers/pkg_config/Makefile shared
  inside sh -c "cd $work_inside && ./consumer_c && ./consumer_cpp && mkdir kept && ./keeper kept" >/dev/null
  [[ -s $work/kept/settings.ini ]]
  echo "3 programs of a user, without APR's development files"
}

make_system
mkdir "$work"
cp "$@" "$work"
work_inside=/tmp/packages
quietly inside sh -c "apt-get install -y --no-install-recommends $work_inside/*.deb"
# shellcheck disable=SC2016  # dpkg's own variables
inside dpkg-query -W -f '${Package} ${Version} ${db:Status-Status}\n' 'libqnstack*' qnget
inside qnget --version
inside ldconfig -p | grep qnstack
build_programs

quietly inside apt-get purge -y qnget libqnstack-dev libqnstack1
left=$(inside find / -xdev -name '*qnstack*' -o -xdev -name '*qnget*' | grep -v "^$work_inside" || true)
[[ -z $left ]] || {
  printf 'left behind:\n%s\n' "$left"
  exit 1
}
echo "removed, nothing left behind"
