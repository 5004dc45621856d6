#!/usr/bin/env bash
# Installs what the builds need, only when something is missing: the native toolchain
# pieces (CMake, Ninja, clang for the fuzzers, GoogleTest source, Google Benchmark and the
# libraries the benchmarks compare with), sox for the audio test files, the i686 mingw-w64
# cross compiler and 32-bit Wine. Safe to run again and again.
set -u

need=()
have_cmd() { command -v "$1" >/dev/null 2>&1; }
have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }

have_cmd cmake || need+=(cmake)
have_cmd ninja || need+=(ninja-build)
have_cmd clang++ || need+=(clang)
have_pkg libclang-rt-14-dev || need+=(libclang-rt-14-dev)
[ -d /usr/src/googletest ] || need+=(googletest)
have_pkg libbenchmark-dev || need+=(libbenchmark-dev)
have_pkg libpixman-1-dev || need+=(libpixman-1-dev)
have_pkg libsdl2-dev || need+=(libsdl2-dev)
have_pkg libgsl-dev || need+=(libgsl-dev)
have_pkg libstb-dev || need+=(libstb-dev)
have_cmd sox || need+=(sox)
have_cmd i686-w64-mingw32-g++-posix || need+=(g++-mingw-w64-i686-posix)
have_cmd i686-w64-mingw32-windres || need+=(binutils-mingw-w64-i686)
have_cmd wine || need+=(wine)
have_pkg wine32:i386 || need+=(wine32:i386)

[ ${#need[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "setup: installing ${need[*]}"
if ! dpkg --print-foreign-architectures | grep -qx i386; then
    $sudo dpkg --add-architecture i386
fi
# One i386 index may fail to download; what arrives is enough, so do not stop here.
$sudo apt-get update -q || echo "setup: apt-get update reported errors; going on"
$sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
    -t bookworm "${need[@]}"
