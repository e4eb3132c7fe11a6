#!/usr/bin/env bash
# Installs a build and uses it as strangers do: its headers alone, a CMake project, a C program by pkg-config, and the
# Debian packages. Usage: package_test.sh BUILD
set -euo pipefail
build=$(realpath "$1")
project=$(realpath "$(dirname "$0")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Hosts register the library for nobody else.
export IMAGEFILE_REGISTRY=$work/registry.reg
warnings=(-Wall -Wextra -Wconversion -Wshadow -Werror)
image=$project/samples/images/album.cue

step() { echo "-- $*"; }
fail() {
  echo "package_test: $*" >&2
  exit 1
}

step "install"
cmake --install "$build" --prefix "$work/prefix" >/dev/null
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name imagefile.pc)")
read -ra flags <<<"$(pkg-config --cflags imagefile)"

step "each header alone, with two compilers"
headers=$work/prefix/include/imagefile
(cd "$headers" && find . -name '*.h') | while read -r header; do
  for compiler in g++ clang++; do
    echo "#include \"${header#./}\"" |
      "$compiler" -std=c++20 "${warnings[@]}" "${flags[@]}" -fsyntax-only -x c++ - || fail "$header with $compiler"
  done
done

step "a C++ host by its CMake package, with two compilers, and a C host by pkg-config"
for compiler in g++ clang++; do
  cmake -S "$project/examples/host" -B "$work/$compiler" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
  cmake --build "$work/$compiler" >/dev/null
done
read -ra flags <<<"$(pkg-config --cflags --libs imagefile-platform)"
cc -std=c11 "${warnings[@]}" "$project/examples/c-host/slot_host.c" "${flags[@]}" \
  -Wl,-rpath,"$(pkg-config --variable=libdir imagefile-platform)" -o "$work/slot_host"

step "hosts find the library while it is registered, and agree with the tool"
zsimage=$work/prefix/bin/zsimage
hosts=("$work/g++/disc_host" "$work/clang++/disc_host" "$work/slot_host")
refused() {
  local host
  for host in "${hosts[@]}"; do
    "$host" "$image" >/dev/null 2>"$work/message" && fail "$host reads without registration"
    grep -q 'registered?' "$work/message" || fail "$host says: $(cat "$work/message")"
  done
}
refused
"$zsimage" register >/dev/null
"$zsimage" extract "$image" --session 1 --track 2 -o "$work/expected"
for host in "${hosts[@]}"; do
  rm -f "$work/track"
  "$host" "$image" 2 "$work/track"
  cmp "$work/track" "$work/expected"
done
"$zsimage" unregister >/dev/null
refused

step "Debian packages"
cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >/dev/null
packages=("$work"/packages/*.deb)
root=$work/root
mkdir -p "$root"/var/lib/dpkg/{info,updates}
touch "$root/var/lib/dpkg/status"
# The packages tell the loader of their libraries. This machine's loader has no need to know, nor may everybody tell it.
mkdir "$work/bin"
printf '#!/bin/sh\necho told >>"%s"\n' "$work/loader" >"$work/bin/ldconfig"
chmod +x "$work/bin/ldconfig"
# The scratch root has none of the system's own libraries; what the packages need of each other is checked.
into_root() {
  PATH="$work/bin:$PATH:/usr/sbin:/sbin" dpkg --root="$root" --force-not-root --force-script-chrootless --log=/dev/null \
    --ignore-depends=libc6,libgcc-s1,libstdc++6 "$@" >/dev/null
}
into_root --install "${packages[@]}"
[ -s "$work/loader" ] || fail "the loader is not told of the libraries"
"$root/usr/bin/zsimage" info "$image" >/dev/null
[ -e "$root/usr/share/man/man1/zsimage.1" ] || [ -e "$root/usr/share/man/man1/zsimage.1.gz" ] || fail "no manual page"
names=()
for package in "${packages[@]}"; do
  names+=("$(dpkg-deb --field "$package" Package)")
  dpkg-deb --info "$package" | grep -E '^ (Package|Version|Depends):'
done
into_root --purge "${names[@]}"
left=$(find "$root/usr" "$root/etc" -type f -o -type l 2>/dev/null || true)
[ -z "$left" ] || fail "left after removal: $left"
echo "package_test: passed"
