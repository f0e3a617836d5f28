#!/usr/bin/env bash
# Installs the Debian packages the build needs (as root), or names the missing ones.
# Usage: scripts/install-deps.sh [PACKAGE...]   (extra packages on top of the base set)
set -euo pipefail
packages=(cmake ninja-build g++ clang pkg-config libgtest-dev libgmock-dev libbenchmark-dev binutils
  libcli11-dev nlohmann-json3-dev libncurses-dev tmux "$@")
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -ne 0 ]; then
  echo "missing Debian packages: ${missing[*]}" >&2
  echo "install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
