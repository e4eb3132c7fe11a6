#!/usr/bin/env bash
# Fails if a file of src/ or include/ includes a header of a layer above its own, or if a public header, a tool or an
# example includes a header that is not public.
set -euo pipefail
cd "$(dirname "$0")/.."

layers=(platform foundation disc cdtext cuesheet toc readers imagefile imagefile/server)

# Prints the index of a layer's folder, 0 for the lowest, or -1 for any other folder.
layer_index() {
  local i
  for i in "${!layers[@]}"; do
    [ "${layers[$i]}" = "$1" ] && echo "$i" && return
  done
  echo "-1"
}

# Prints "file header" for each include of a header of the project in some folders.
includes() { grep -rE '^#include "[a-z_]+/' --include='*.h' --include='*.cpp' "$@" | sed -E 's/:.*"([^"]+)".*/ \1/'; }

failed=0
while read -r file header; do
  folder=$(dirname "${file#*/}")
  own=$(layer_index "$folder")
  other=$(layer_index "$(dirname "$header")")
  if [ "$own" -lt 0 ] || [ "$other" -lt 0 ] || [ "$other" -gt "$own" ]; then
    echo "$file includes $header, which is in a higher layer or in none" >&2
    failed=1
  fi
done < <(includes src include)

while read -r file header; do
  if [ ! -f "include/$header" ]; then
    echo "$file includes $header, which is not a public header" >&2
    failed=1
  fi
done < <(includes include tools examples)
exit "$failed"
