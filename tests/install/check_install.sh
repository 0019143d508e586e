#!/usr/bin/env bash
# check_install.sh BUILD_DIR SOURCE_DIR: installs the build into a temporary prefix, checks what
# lands there, builds a consumer as C11 through pkg-config and as C++ through the CMake package,
# runs both and the installed tool on the samples, then makes the Debian packages and installs
# them with dpkg into a temporary root.
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
samples=("$source/samples/animated-red-blue.gif" "$source/samples/basn2c08.png")

cmake --install "$build" --prefix "$prefix" >/dev/null
for f in lib/libkovraimagecodec.so lib/libkovraimagecodec.so.1 include/kovra_gif.h include/kovra_export.h \
         lib/pkgconfig/kovraimagecodec.pc lib/cmake/KovraImageCodec/KovraImageCodecConfig.cmake \
         bin/kovra share/man/man1/kovra.1; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f"; exit 1; }
done
[ "$(readlink "$prefix/lib/libkovraimagecodec.so")" = libkovraimagecodec.so.1 ] || { echo "development link"; exit 1; }

# C11 through pkg-config.
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
# shellcheck disable=SC2046
cc -std=c11 -Wall -Werror "$source/tests/install/consumer.c" -o "$work/c-consumer" \
   $(pkg-config --cflags --libs kovraimagecodec)
LD_LIBRARY_PATH=$prefix/lib "$work/c-consumer" "${samples[@]}" | tee "$work/c.out"
grep -q 'animated-red-blue.gif: type 6, 64 x 48' "$work/c.out"
grep -q 'basn2c08.png: type 3, 32 x 32' "$work/c.out"

# The same consumer as C++ through find_package.
mkdir "$work/cmake-consumer"
cat > "$work/cmake-consumer/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(KovraImageCodec 1 REQUIRED)
add_executable(consumer "$source/tests/install/consumer.c")
set_source_files_properties("$source/tests/install/consumer.c" PROPERTIES LANGUAGE CXX)
target_link_libraries(consumer PRIVATE KovraImageCodec::kovraimagecodec)
CMAKE
cmake -S "$work/cmake-consumer" -B "$work/cmake-consumer/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-consumer/build" >/dev/null
"$work/cmake-consumer/build/consumer" "${samples[@]}" | tee "$work/cpp.out"
grep -q 'animated-red-blue.gif: type 6, 64 x 48, 4 frames' "$work/cpp.out"

# The installed tool finds its library without help.
"$prefix/bin/kovra" info "${samples[0]}" | grep -q 'animated GIF, 64 x 48'
# The manual page renders without a warning.
[ -z "$(groff -man -Tutf8 -ww -z "$prefix/share/man/man1/kovra.1" 2>&1)" ]

# Debian packages, installed with dpkg into a private root (no root rights, no system change).
(cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" >/dev/null)
root=$work/root admin=$work/root/var/lib/dpkg
mkdir -p "$admin/info" "$admin/updates"
touch "$admin/status" "$admin/available"
for deb in libkovraimagecodec1 libkovraimagecodec-dev kovra-tools; do
  ls "$work"/${deb}_*.deb >/dev/null
done
dpkg --force-not-root --force-depends --force-script-chrootless --root="$root" --admindir="$admin" \
     -i "$work"/libkovraimagecodec1_*.deb "$work"/libkovraimagecodec-dev_*.deb "$work"/kovra-tools_*.deb >/dev/null
dpkg --admindir="$admin" -l | grep -c '^ii' | grep -qx 3
"$root/usr/bin/kovra" info "${samples[1]}" | grep -q 'PNG, 32 x 32'
echo "install, consumers and packages: ok"
