#!/usr/bin/env bash
# fresh_root.sh [ROOT [COMMAND]]: clones HEAD into a minimal Debian 12 in ROOT and runs COMMAND there, as a new user would. By
# default both commands of the README. Takes an hour and 4 GB; ROOT is kept, and used again if it is there.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(realpath -m "${1:-/tmp/fresh}") command=${2:-"scripts/demo.sh && scripts/test.sh"}
[ "$(id -u)" -eq 0 ] || { echo "fresh_root.sh: must be root, for chroot and mounts" >&2; exit 1; }
# shellcheck source=scripts/packages.sh
. scripts/packages.sh
scripts/setup.sh "${fresh_root_packages[@]}"

[ -e "$root/usr/bin/apt-get" ] || debootstrap --variant=minbase bookworm "$root" http://deb.debian.org/debian
rm -rf "$root/root/tamix_camera"
git clone -q . "$root/root/tamix_camera"
cp /etc/resolv.conf "$root/etc/resolv.conf"

# The mounts are in a namespace of their own and end with it.
# shellcheck disable=SC2016  # the inner shell's variables
exec unshare --mount bash -c 'set -e
  mount -t proc proc "$1/proc"
  mount --rbind /dev "$1/dev"
  mount -t tmpfs tmpfs "$1/tmp"
  exec env -i HOME=/root TERM=dumb PATH=/usr/sbin:/usr/bin:/sbin:/bin \
    chroot "$1" bash -c "cd /root/tamix_camera && $2"' fresh_root "$root" "$command"
