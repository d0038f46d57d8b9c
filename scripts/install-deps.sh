#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, and nothing when all are
# present. Runs apt-get directly as root and through sudo otherwise; never asks questions.
set -euo pipefail

packages=(
  g++ clang libclang-rt-14-dev cmake ninja-build pkg-config make
  nlohmann-json3-dev libcurl4-openssl-dev libssl-dev libicu-dev libasio-dev
  libgtest-dev libgmock-dev libbenchmark-dev libcpp-httplib-dev
  zlib1g-dev libbrotli-dev libzstd-dev curl
  python3-requests httpie golang-go
)
# Node and npm drive the end-to-end tests; a machine that already has them (from any
# source) keeps its own.
command -v node >/dev/null 2>&1 || packages+=(nodejs)
command -v npm >/dev/null 2>&1 || packages+=(npm)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo -n"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
