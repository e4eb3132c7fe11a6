#!/usr/bin/env bash
# Fails if a file of src/, include/ or tools/zsimage/ includes a header of a layer above its own, or if a public header,
# the tool or an example includes a private header.
set -euo pipefail
cd "$(dirname "$0")/.."

# Folders from the lowest layer to the highest.
component=(platform foundation disc cdtext cuesheet toc readers imagefile imagefile/server)
tool=(output files image sound checks picture join cli commands .)
failed=0

# Prints "file header" for each include of a header of the project in some folders.
includes() { grep -rE '^#include "[a-z_]+/' --include='*.h' --include='*.cpp' "$@" | sed -E 's/:.*"([^"]+)".*/ \1/'; }

# Prints the position of a folder in a list of layers; -1 if it is none of them.
rank() {
  local folder=$1 i=0
  shift
  for layer in "$@"; do
    [ "$layer" = "$folder" ] && echo "$i" && return
    i=$((i + 1))
  done
  echo "-1"
}

# Reads includes of files below a folder, and compares the layers of file and header.
compare_layers() {
  local root=$1 file header own other
  shift
  while read -r file header; do
    own=$(rank "$(dirname "${file#$root}")" "$@")
    other=$(rank "$(dirname "$header")" "$@")
    if [ "$own" -lt 0 ] || [ "$other" -lt 0 ] || [ "$other" -gt "$own" ]; then
      echo "$file includes $header, which is in a higher layer or in none" >&2
      failed=1
    fi
  done
}
compare_layers '*/' "${component[@]}" < <(includes src include)
compare_layers tools/zsimage/ "${tool[@]}" < <(includes tools | while read -r file header; do
  [ -f "include/$header" ] || echo "$file $header"
done)

while read -r file header; do
  if [ ! -f "include/$header" ] && [ ! -f "tools/zsimage/$header" ]; then
    echo "$file includes $header, which is not a public header" >&2
    failed=1
  fi
done < <(includes include tools examples)
exit "$failed"
