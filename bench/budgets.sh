#!/usr/bin/env bash
# Counts system calls and measures peaks of memory, which no other load on the machine changes, and fails where there is
# more than there should be.
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

# To open an image: the proof that it opens (open, kind, lock, close), its description, and one read of a sector of each data
# track. A name that is not there, or is there in another case, costs the search of its folder, about ten calls: CCD,
# MDS and CUE images have two such companions, and CUE sheets name their data file in upper case besides. A short
# sheet is read twice: for the name of its data file, and for its tracks.
while read -r image most; do
  check "open $image" "$(calls "$images" "$zsimage" info --json "$images/$image")" "$most"
done <<TXT
plain.iso 5
album.cue 68
mixed.cue 61
cdplus.nrg 21
tao.nrg 21
sessions.ccd 30
inline.mds 36
dvd.mds 36
native.zsi 11
TXT

# Makes an image of one track of so many sectors.
make_track() {
  truncate -s $(($1 * 2352)) "$work/track.bin"
  printf 'FILE "TRACK.BIN" BINARY\n  TRACK 01 MODE1/2352\n    INDEX 01 00:00:00\n' >"$work/track.cue"
}
save=("$zsimage" extract --force "$work/track.cue" --session 1 --track 1 -o "$work/out" --block-size)

# To save a track: calls on the image and the new file, for 10,000 sectors.
sectors=10000
make_track $sectors
while read -r size most; do
  check "save $sectors sectors, block size $size" "$(calls "$work" "${save[@]}" "$size")" "$most"
done <<TXT
0 655
2048 414
TXT

# The peak of a command's memory above that of a program that does nothing, in KiB.
peak() {
  local nothing all
  nothing=$(env time -f %M true 2>&1 >/dev/null)
  all=$(env time -q -f %M "$@" 2>&1 >/dev/null | tail -n 1)
  echo $((all - nothing))
}

for image in plain.iso album.cue cdplus.nrg sessions.ccd inline.mds native.zsi; do
  check "memory to show $image, KiB" "$(peak "$zsimage" info "$images/$image")" 8192
done
# The memory to show many tracks is that of their records, 133 bytes for each.
{ printf 'FILE "LINES.BIN" BINARY\n'; head -n 1000000 < <(yes TRACK); } >"$work/lines.cue"
truncate -s 23520 "$work/lines.bin"
for format in '' --json; do
  check "memory to show 1,000,000 tracks, KiB $format" "$(peak "$zsimage" info $format "$work/lines.cue")" 147456
done
# Under any limit of memory that lets it start, the tool shows an image of 99 sessions or ends with exit status 1.
for i in {1..99}; do
  printf '[Entry %d]\nSession=%d\nPoint=%d\nPLBA=%d\n[TRACK %d]\nMODE=0\nINDEX 1=%d\n' $((i - 1)) $i $i $i $i $i
done >"$work/sessions.ccd"
printf '[Disc]\nSessions=99\n' >>"$work/sessions.ccd"
status() { (ulimit -v "$1" && "$zsimage" info --json "$2") &>/dev/null && echo 0 || echo $?; }
limit=4096
until [ "$(status $limit "$work/none.ccd")" -eq 1 ]; do limit=$((limit + 16)); done
crashes=0
for ((last = limit + 1024; limit < last; limit += 8)); do
  [ "$(status $limit "$work/sessions.ccd")" -le 1 ] || crashes=$((crashes + 1))
done
check "crashes when memory runs out" $crashes 0
# The memory to save a track is the same for any length.
small=$(peak "${save[@]}" 2048)
make_track $((sectors * 20))
check "memory to save 20 times the sectors, KiB" "$(peak "${save[@]}" 2048)" $((small + 512))
exit "$failed"
