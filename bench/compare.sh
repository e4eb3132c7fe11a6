#!/usr/bin/env bash
# Compares whole programs on the same warm files, in rounds of shuffled order, and prints medians and ratios.
# Usage: compare.sh BUILD [MEGABYTES [ROUNDS]]
set -euo pipefail
build=$(realpath "$1")
megabytes=${2:-734}
rounds=${3:-9}
images=$(mktemp -d /dev/shm/imagefile-images-XXXXXX)
on_disk=$(mktemp -d /var/tmp/imagefile-out-XXXXXX)
trap 'rm -rf "$images" "$on_disk"' EXIT
export IMAGEFILE_REGISTRY=$images/registry.reg
cmake --install "$build" --prefix "$images/installed" >/dev/null
zsimage=$images/installed/bin/zsimage

cd "$images"
mkdir files
head -c "${megabytes}000000" /dev/zero >files/data
genisoimage -quiet -o plain.iso files
"$build/bench/make_disc" "$images" plain.iso
rm -r files

# Each line is "name|command". The command writes to $out.
raw='dd bs=64K|dd if=data.bin of=$out bs=64K status=none
cp|cp data.bin $out
zsimage, raw|$zsimage extract data.cue --session 1 --track 1 -o $out'
cooked='large-read program|$build/bench/cook data.bin $out
zsimage, cooked|$zsimage extract data.cue --session 1 --track 1 --block-size 2048 -o $out
bchunk|bchunk data.bin data.cue $out
iat|iat data.bin $out'
joining='cat|cat part.* >$out.BIN
zsimage join|$zsimage join parts.cue $out.cue'
opening='zsimage info|$zsimage info album.cue
cueprint|cueprint album.cue
cd-info|cd-info --no-header --no-device-info --no-cddb --cue-file=album.cue
zsimage info, ISO|$zsimage info plain.iso
iso-info|iso-info plain.iso'

clean() { [ "$out" = /dev/null ] || rm -f "$out"*; }

# Prints the time of a command in units of 10 microseconds.
measure() {
  local start=$EPOCHREALTIME
  eval "$1" </dev/null >/dev/null 2>&1 || true
  local end=$EPOCHREALTIME
  echo $(((${end/./} - ${start/./}) / 10))
}

# Prints the median of each command of a list, in milliseconds, and its ratio to the first.
compare() {
  local title=$1 list=$2 round name command
  declare -A times=()
  for ((round = 0; round < rounds; ++round)); do
    while IFS='|' read -r name command; do
      clean
      times[$name]+="$(measure "$command") "
    done < <(shuf <<<"$list")
  done
  clean
  echo
  printf '%-36s %10s %8s\n' "$title" "ms" "ratio"
  local first=
  while IFS='|' read -r name command; do
    local median
    median=$(tr ' ' '\n' <<<"${times[$name]}" | grep . | sort -n | sed -n "$((rounds / 2 + 1))p")
    first=${first:-$median}
    awk -v n="$name" -v m="$median" -v f="$first" 'BEGIN { printf "%-36s %10.2f %8.2f\n", n, m / 100, m / f }'
  done <<<"$list"
}

grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //'
echo "$(nproc) cores, $(awk '/MemTotal/ { print int($2 / 1048576) }' /proc/meminfo) GiB, $megabytes MB, $rounds rounds"
out=/dev/null
compare "raw to /dev/null" "$(grep -v '^cp' <<<"$raw")"
compare "cooked to /dev/null" "$(grep -E '^(large|zsimage)' <<<"$cooked")"
out=$images/out
compare "raw to tmpfs" "$raw"
compare "cooked to tmpfs" "$cooked"
out=$on_disk/out
compare "raw to disk" "$raw"
compare "cooked to disk" "$cooked"
out=/dev/null
compare "show an image, whole process" "$opening"
echo
printf '%-44s %10s %10s %8s\n' "in one process, medians" "ours, us" "theirs, us" "ratio"
"$build/bench/compare_libcue" "$images"
"$build/bench/compare_libcdio" "$images"

# The parts are cut last, since they need as much memory as the image.
split -d -b $((2352 * 80000)) data.bin part.
rm data.bin
for part in part.*; do
  printf 'FILE "%s" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n' "$part"
done >parts.cue
out=$on_disk/OUT
compare "join files to disk" "$joining"
