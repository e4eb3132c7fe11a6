#!/usr/bin/env bash
# Fails when a file of src/ includes from a layer that stands above its own, or a host a header that is not installed.
set -euo pipefail
cd "$(dirname "$0")/../src"

layers=(platform foundation disc cdtext cuesheet toc readers imagefile imagefile/server)

rank() {
  local i
  for i in "${!layers[@]}"; do
    [ "${layers[$i]}" = "$1" ] && echo "$i" && return
  done
  echo "-1"
}

failed=0
while IFS=: read -r file line; do
  included=$(sed -E 's/.*"([^"]+)".*/\1/' <<<"$line")
  own=$(rank "$(dirname "$file")")
  other=$(rank "$(dirname "$included")")
  if [ "$own" -lt 0 ] || [ "$other" -lt 0 ] || [ "$other" -gt "$own" ]; then
    echo "$file includes $included, which stands above it or in no layer" >&2
    failed=1
  fi
done < <(grep -rE '^#include "' --include='*.h' --include='*.cpp' . | sed 's|^\./||')

public=$(grep -oE '[a-z0-9_/]+\.h\b' CMakeLists.txt)
while IFS=: read -r file line; do
  included=$(sed -E 's/.*"([^"]+)".*/\1/' <<<"$line")
  if ! grep -qx "$included" <<<"$public"; then
    echo "$file includes $included, which is no public header" >&2
    failed=1
  fi
done < <(grep -rE '^#include "[a-z]+/' --include='*.h' --include='*.cpp' ../tools ../examples | sed 's|^\.\./||')
exit "$failed"
