#!/usr/bin/env bash
# Counts system calls and measures peaks of memory. Fails if a figure is above its limit. Other load on the machine does
# not change these figures.
# Usage: budgets.sh ZSIMAGE
set -euo pipefail
zsimage=$(realpath "$1")
images=$(realpath "$(dirname "$0")/../samples/images")
cd /
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# Prints the number of system calls of a command on files whose path contains a text. Ignores upper and lower case.
count_calls() {
  local text=$1
  shift
  strace -y -o "$work/calls" "$@" >/dev/null
  grep -v '^execve' "$work/calls" | grep -ci "$text" || true
}

# Prints a figure and its limit.
check() {
  local what=$1 count=$2 limit=$3
  printf '%-44s %6d of %6d\n' "$what" "$count" "$limit"
  if [ "$count" -gt "$limit" ]; then
    failed=1
  fi
}

# Calls to open an image: the check that it opens (open, type, lock, close), its description, and one sector of each
# data track. A name that is missing or differs in case needs a search of its folder, about ten calls: CCD, MDS and
# CUE images have two missing companions, and a CUE sheet names its data file in upper case. A short sheet is read
# twice: for the name of its data file, and for its tracks.
while read -r image limit; do
  check "open $image" "$(count_calls "$images" "$zsimage" info --json "$images/$image")" "$limit"
done <<TXT
plain.iso 5
album.cue 64
mixed.cue 57
cdplus.nrg 21
tao.nrg 21
sessions.ccd 28
inline.mds 34
dvd.mds 34
native.zsi 11
TXT

# Makes an image of one track. Argument: sectors.
make_track() {
  truncate -s $(($1 * 2352)) "$work/track.bin"
  printf 'FILE "TRACK.BIN" BINARY\n  TRACK 01 MODE1/2352\n    INDEX 01 00:00:00\n' >"$work/track.cue"
}
save=("$zsimage" extract --force "$work/track.cue" --session 1 --track 1 -o "$work/out" --block-size)

# Calls on the image and the new file to save a track of 10,000 sectors.
sectors=10000
make_track $sectors
while read -r size limit; do
  check "save $sectors sectors, block size $size" "$(count_calls "$work" "${save[@]}" "$size")" "$limit"
done <<TXT
0 400
2048 400
TXT

# Prints the peak of a command's memory above that of "true", in KiB.
measure_peak() {
  local nothing all
  nothing=$(env time -f %M true 2>&1 >/dev/null)
  all=$(env time -q -f %M "$@" 2>&1 >/dev/null | tail -n 1)
  echo $((all - nothing))
}

for image in plain.iso album.cue cdplus.nrg sessions.ccd inline.mds native.zsi; do
  check "memory to show $image, KiB" "$(measure_peak "$zsimage" info "$images/$image")" 8192
done
# Showing many tracks needs the memory of their records and of the views of them, about 165 bytes each.
{ printf 'FILE "LINES.BIN" BINARY\n'; head -n 1000000 < <(yes TRACK); } >"$work/lines.cue"
truncate -s 23520 "$work/lines.bin"
for format in '' --json; do
  check "memory to show 1,000,000 tracks, KiB $format" "$(measure_peak "$zsimage" info $format "$work/lines.cue")" 172032
done
# With any limit of memory that is enough to start, the tool shows an image of 99 sessions or ends with exit status 1.
for i in {1..99}; do
  printf '[Entry %d]\nSession=%d\nPoint=%d\nPLBA=%d\n[TRACK %d]\nMODE=0\nINDEX 1=%d\n' $((i - 1)) $i $i $i $i $i
done >"$work/sessions.ccd"
printf '[Disc]\nSessions=99\n' >>"$work/sessions.ccd"
exit_status() { (ulimit -v "$1" && "$zsimage" info --json "$2") &>/dev/null && echo 0 || echo $?; }
limit=4096
until [ "$(exit_status $limit "$work/none.ccd")" -eq 1 ]; do limit=$((limit + 16)); done
crashes=0
for ((last = limit + 1024; limit < last; limit += 8)); do
  [ "$(exit_status $limit "$work/sessions.ccd")" -le 1 ] || crashes=$((crashes + 1))
done
check "crashes when memory runs out" $crashes 0
# The memory to save a track does not depend on its length.
small=$(measure_peak "${save[@]}" 2048)
make_track $((sectors * 20))
check "memory to save 20 times the sectors, KiB" "$(measure_peak "${save[@]}" 2048)" $((small + 512))
exit "$failed"
