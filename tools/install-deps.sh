#!/usr/bin/env bash
# Installs the Debian packages Brondel needs to build, test and benchmark, and nothing when all
# are present already. Uses sudo when not run as root.
set -euo pipefail

packages=(
    build-essential cmake make pkg-config
    qt6-base-dev libqt6opengl6-dev libgl-dev zlib1g-dev libisal-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    xvfb xauth
    clang-format clang-tidy
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

echo "Installing missing packages: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
