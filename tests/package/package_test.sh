#!/usr/bin/env bash
# Installs a build and tests each header alone, a CMake project, a C program that uses pkg-config, the Python package, and
# the Debian packages. Usage: package_test.sh BUILD
set -euo pipefail
build=$(realpath "$1")
project=$(realpath "$(dirname "$0")/../..")
image=$project/samples/images/album.cue
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export IMAGEFILE_REGISTRY=$work/registry.reg # Registers the library for this test only.

fail() {
  echo "package_test: $*" >&2
  exit 1
}

cmake --install "$build" --prefix "$work/prefix" >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name imagefile.pc)")
export PKG_CONFIG_PATH
warnings=(-Wall -Wextra -Wconversion -Wshadow -Werror)

echo "-- each header alone, and a C++ host that uses the CMake package, with two compilers"
read -ra flags <<<"$(pkg-config --cflags imagefile)"
for compiler in g++ clang++; do
  find "$work/prefix/include/imagefile" -name '*.h' | xargs -I HEADER \
    "$compiler" -std=c++20 "${warnings[@]}" "${flags[@]}" -fsyntax-only -include HEADER -x c++ /dev/null
  cmake -S "$project/examples/host" -B "$work/$compiler" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
  cmake --build "$work/$compiler" >/dev/null
done

echo "-- a C host that uses pkg-config"
read -ra flags <<<"$(pkg-config --cflags --libs imagefile-platform)"
cc -std=c11 "${warnings[@]}" "$project/examples/c-host/slot_host.c" "${flags[@]}" \
  -Wl,-rpath,"$(pkg-config --variable=libdir imagefile-platform)" -o "$work/slot_host"

echo "-- hosts work while the library is registered, and write the same bytes as the tool"
zsimage=$work/prefix/bin/zsimage
for host in "$work"/{g++/disc_host,clang++/disc_host,slot_host}; do
  "$zsimage" register >/dev/null
  "$zsimage" extract "$image" --session 1 --track 2 -o "$work/expected"
  "$host" "$image" 2 "$work/track"
  cmp "$work/track" "$work/expected"
  rm "$work/track" "$work/expected"
  "$zsimage" unregister >/dev/null
  status=0
  "$host" "$image" >/dev/null 2>"$work/message" || status=$?
  [ $status -eq 1 ] || fail "$host ends with $status without registration"
  grep -q 'registered?' "$work/message" || fail "$host says: $(cat "$work/message")"
done

read_in_python() {
  "$1" -c 'import imagefile, sys; print(imagefile.open(sys.argv[1]).tracks[1].title)' "$image" |
    grep -qx 'Café at Sector Twenty' || fail "the Python package does not read"
}

echo "-- Python, by pip and without the network"
cp -r "$project/bindings/python" "$work/python"
/usr/bin/python3 -m venv --system-site-packages "$work/env"
"$work/env/bin/pip" install --quiet --no-index --no-build-isolation "$work/python"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir imagefile) read_in_python "$work/env/bin/python"

echo "-- Debian packages"
cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >/dev/null
root=$work/root
mkdir -p "$root"/var/lib/dpkg/{info,updates} "$work/bin"
touch "$root/var/lib/dpkg/status"
# The packages run ldconfig. This one records the call, because the real one needs root and changes the machine.
printf '#!/bin/sh\necho called >>"%s"\n' "$work/loader" >"$work/bin/ldconfig"
chmod +x "$work/bin/ldconfig"
# The scratch root has no system libraries, so these are ignored. Dependencies between the packages are checked.
into_root() {
  PATH="$work/bin:$PATH:/usr/sbin:/sbin" dpkg --root="$root" --force-not-root --force-script-chrootless --log=/dev/null \
    --ignore-depends=libc6,libgcc-s1,libsndfile1,libstdc++6,python3 "$@" >/dev/null
}
into_root --install "$work"/packages/*.deb
[ -s "$work/loader" ] || fail "the packages do not run ldconfig"
"$root/usr/bin/zsimage" info "$image" >/dev/null
modules=$root/usr/lib/python3/dist-packages
LD_LIBRARY_PATH=$(dirname "$(find "$root/usr" -name libImageFile.so.1)") PYTHONPATH=$modules PYTHONDONTWRITEBYTECODE='' \
  read_in_python /usr/bin/python3
[ -d "$modules/imagefile/__pycache__" ] || fail "Python ran another package"
compgen -G "$root/usr/share/man/man1/zsimage.1*" >/dev/null || fail "no manual page"
read -ra names <<<"$(dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${Package} ')"
into_root --purge "${names[@]}"
left=$(find "$root/usr" "$root/etc" -type f -o -type l 2>/dev/null || true)
[ -z "$left" ] || fail "left after removal: $left"
echo "package_test: passed"
