#!/usr/bin/env bash
# Installs the Debian packages that building and running the server need, with --test also
# what only the tests, fuzzers and benchmarks use, and with --package what building and
# checking the .deb uses. Installs nothing when all are present. Runs apt-get directly as root and through sudo otherwise; never asks questions.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config make
  nlohmann-json3-dev libcurl4-openssl-dev libssl-dev libicu-dev libasio-dev
)
if [ "${1:-}" = "--test" ]; then
  packages+=(
    # unit tests, benchmarks, and the Clang build with sanitizers and libFuzzer
    clang libclang-rt-14-dev libgtest-dev libgmock-dev libbenchmark-dev
    libcpp-httplib-dev zlib1g-dev libbrotli-dev libzstd-dev
    # what the end-to-end tests compare with or run: curl, and the code snippets' runtimes
    curl python3-requests httpie golang-go
  )
  # Node and npm drive the end-to-end tests; a machine that already has them (from any
  # source) keeps its own.
  command -v node >/dev/null 2>&1 || packages+=(nodejs)
  command -v npm >/dev/null 2>&1 || packages+=(npm)
fi
if [ "${1:-}" = "--package" ]; then
  # dpkg-shlibdeps and file for CPack's Depends; lintian checks the result
  packages+=(dpkg-dev file lintian)
fi

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
