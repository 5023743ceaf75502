#!/usr/bin/env bash
# Installs the Debian packages that building, testing and measuring need; says and does nothing when all are there.
set -euo pipefail

packages=(
    git cmake ninja-build g++ g++-mingw-w64-x86-64 wine wine64 fonts-wine xvfb
    googletest libbenchmark-dev libcli11-dev
    clang libclang-rt-14-dev clang-format clang-tidy gcovr python3
    libpugixml-dev librapidxml-dev libtinyxml2-dev libxml2-dev libexpat1-dev
    squid tinyproxy-bin nginx haproxy util-linux
    llvm zip unzip doxygen
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "Installing Debian packages: ${missing[*]}"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
