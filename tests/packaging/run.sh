#!/usr/bin/env bash
# Installs the built library into a scratch prefix, then builds and runs a small consumer
# against it twice: through find_package(olma-core) and through pkg-config.
# Arguments: the build tree, a scratch directory, the sanitizers of the build (may be empty).
set -euo pipefail
build_dir=$1
work=$2
sanitize=${3:-}
here=$(cd "$(dirname "$0")" && pwd)
cxx=${CXX:-c++}

flags=""
if [[ -n "$sanitize" ]]; then flags="-fsanitize=${sanitize//;/,}"; fi

rm -rf "$work"
mkdir -p "$work"
prefix="$work/prefix"
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

libdir=$(dirname "$(find "$prefix" -name 'libolma-core.so' | head -n 1)")
export LD_LIBRARY_PATH="$libdir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

cmake -S "$here/consumer" -B "$work/cmake-consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
cmake --build "$work/cmake-consumer" >/dev/null
"$work/cmake-consumer/consumer" | grep -qx "consumer: 3 of five"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
"$cxx" $flags "$here/consumer/main.cpp" -o "$work/pkgconfig-consumer" $(pkg-config --cflags --libs olma-core)
"$work/pkgconfig-consumer" | grep -qx "consumer: 3 of five"

# The library exports its interface and nothing else: internal helpers stay hidden.
if nm -D --defined-only "$libdir/libolma-core.so" | c++filt | grep -q 'anonymous namespace'; then
  echo "libolma-core.so exports internal symbols" >&2
  exit 1
fi
soname=$(objdump -p "$libdir/libolma-core.so" | awk '/SONAME/ {print $2}')
[[ "$soname" =~ ^libolma-core\.so\.[0-9]+$ ]] || { echo "unexpected SONAME: $soname" >&2; exit 1; }
echo "packaging: CMake package and pkg-config consumers built and ran; SONAME $soname"
