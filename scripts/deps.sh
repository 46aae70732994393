#!/usr/bin/env bash
# Installs the Debian packages canal needs to build, test, fuzz, benchmark and package
# (dpkg-dev: dpkg-shlibdeps, which works out the package's library dependencies).
# Open MPI is optional for the build (CANAL_MPI); it is installed so that the MPI build and its
# two-rank test run here.
# Safe to run repeatedly: it only calls apt-get when something is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  clang clang-format libclang-rt-14-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libngspice0-dev ngspice
  libcli11-dev
  libopenmpi-dev openmpi-bin
  dpkg-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}" >&2
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
