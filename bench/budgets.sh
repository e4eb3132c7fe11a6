#!/usr/bin/env bash
# Counts system calls, which no other load on the machine changes, and fails where there are more than there should be.
# Usage: budgets.sh ZSIMAGE
set -euo pipefail
zsimage=$(realpath "$1")
images=$(realpath "$(dirname "$0")/../samples/images")
cd /
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# Calls of a command that are about files whose path holds a text, in any case.
calls() {
  local text=$1
  shift
  strace -y -o "$work/calls" "$@" >/dev/null
  grep -v '^execve' "$work/calls" | grep -ci "$text" || true
}

check() {
  local what=$1 count=$2 most=$3
  printf '%-44s %6d of %6d\n' "$what" "$count" "$most"
  if [ "$count" -gt "$most" ]; then
    failed=1
  fi
}

# To open an image: the proof that it opens (open, size, close), its description, and one read of a sector of each data
# track. A name that is not there, or is there in another case, costs the search of its folder, about nine calls: CCD,
# MDS and CUE images have two such companions, and CUE sheets name their data file in upper case besides. A sheet is
# read for the name of its data file, to count its tracks, and for its lines.
while read -r image most; do
  check "open $image" "$(calls "$images" "$zsimage" info --json "$images/$image")" "$most"
done <<TXT
plain.iso 4
album.cue 79
mixed.cue 64
cdplus.nrg 16
tao.nrg 16
sessions.ccd 27
inline.mds 35
dvd.mds 35
native.zsi 8
TXT

# To save a track: calls on the image and the new file, for 10,000 sectors.
sectors=10000
truncate -s $((sectors * 2352)) "$work/track.bin"
printf 'FILE "TRACK.BIN" BINARY\n  TRACK 01 MODE1/2352\n    INDEX 01 00:00:00\n' >"$work/track.cue"
while read -r size most; do
  check "save $sectors sectors, block size $size" \
    "$(calls "$work" "$zsimage" extract "$work/track.cue" --session 1 --track 1 --block-size "$size" -o "$work/out")" "$most"
done <<TXT
0 900
2048 520
TXT
exit "$failed"
