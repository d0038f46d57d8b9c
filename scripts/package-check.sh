#!/usr/bin/env bash
# Builds the Debian package, runs lintian on it (any error fails), then unpacks it into a
# temporary folder and checks what a user gets: the manual page and the Debian copyright
# file, libcurl among the dependencies, and the unpacked program answering --version, a
# ping and tools/list through a pipe.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n== %s\n' "$*"; }
fail() { echo "package check: $*" >&2; exit 1; }

step "package"
make package
version=$(sed -n 's/^project(tessaline-mcp VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
deb="build/tessaline-mcp_${version}_amd64.deb"
[ -f "$deb" ] || fail "$deb was not built"

step "lintian"
lintian --fail-on error --display-info "$deb"

step "contents"
dpkg-deb --info "$deb"
depends=$(dpkg-deb --field "$deb" Depends)
[[ "$depends" == *libcurl4* ]] || fail "Depends does not name libcurl: $depends"
unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
dpkg-deb -x "$deb" "$unpacked"
for file in usr/bin/tessaline-mcp usr/share/man/man1/tessaline-mcp.1.gz \
            usr/share/doc/tessaline-mcp/copyright usr/share/doc/tessaline-mcp/README.md.gz; do
  [ -f "$unpacked/$file" ] || fail "$file is missing"
done

step "the unpacked program"
program="$unpacked/usr/bin/tessaline-mcp"
expected="tessaline-mcp $version (MCP 2025-06-18)"
[ "$("$program" --version)" = "$expected" ] || fail "--version does not print: $expected"
replies=$(printf '%s\n' '{"jsonrpc":"2.0","id":1,"method":"ping"}' \
                        '{"jsonrpc":"2.0","id":2,"method":"tools/list"}' |
          "$program" --workspace "$unpacked/workspace" 2>"$unpacked/stderr")
[ ! -s "$unpacked/stderr" ] || fail "the program wrote to stderr: $(cat "$unpacked/stderr")"
[ "$(sed -n 1p <<<"$replies")" = '{"id":1,"jsonrpc":"2.0","result":{}}' ] || fail "no ping reply: $replies"
tools=$(sed -n 2p <<<"$replies")
[[ "$tools" == '{"id":2,"jsonrpc":"2.0","result":{"tools":['* ]] || fail "no tools/list reply: $tools"
while read -r name _; do
  [[ "$tools" == *"\"name\":\"$name\""* ]] || fail "tools/list lacks $name"
done < <("$program" --workspace "$unpacked/workspace" --tools)
echo "package check passed: $deb"
