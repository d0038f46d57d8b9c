#!/usr/bin/env bash
# Checks the includes of src/ against the layering the README describes. The tree has three
# parts: core (what the server and a desktop client both run on), desktop (what only a desktop
# client uses) and server (the MCP layer and the program). Core includes nothing of the other
# two, and neither of those includes the other. Inside a part, folders are layers, bottom
# first: a file includes its own folder and those before it in its part's list, never after.
# Prints each include that breaks the rule and exits 1 when there is one.
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A layers=(
  [core]="support model variables http oauth storage interchange session"
  [desktop]="json reference editing interchange"
  [server]="mcp app"
)
# The parts a part may include, itself first.
declare -A reaches=([core]="core" [desktop]="desktop core" [server]="server core")

rank() { # part folder -> position in the part's list, or nothing when unknown
  local i=0 layer
  for layer in ${layers[$1]}; do
    [[ $layer == "$2" ]] && { echo "$i"; return; }
    i=$((i + 1))
  done
}

broken=0
report() { echo "$1: includes \"$2\": $3"; broken=1; }

while IFS= read -r file; do
  IFS=/ read -r _ part folder _ <<<"$file"
  own=$(rank "$part" "$folder")
  [[ -n $own ]] || { echo "$file: folder $part/$folder is not in this script's list of layers"; broken=1; continue; }
  while IFS= read -r target; do
    IFS=/ read -r target_part target_folder _ <<<"$target"
    if [[ " ${reaches[$part]} " != *" $target_part "* ]]; then
      report "$file" "$target" "$part may not include $target_part"
    elif [[ $target_part == "$part" ]]; then
      theirs=$(rank "$part" "$target_folder")
      if [[ -z $theirs ]]; then
        report "$file" "$target" "no such layer"
      elif ((theirs > own)); then
        report "$file" "$target" "$part/$folder sits below $part/$target_folder"
      fi
    fi
  done < <(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$file")
done < <(find src -name '*.hpp' -o -name '*.cpp' | sort)

if ((broken)); then exit 1; fi
echo "layers: every include of src/ keeps to its part and layer"
