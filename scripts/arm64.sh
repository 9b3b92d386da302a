#!/usr/bin/env bash
# Builds the tool for ARM64 with Debian's cross compiler and compares what it gives, under qemu, with the committed
# results, to the last byte: what docs/determinism.md promises. Arguments go to the build: scripts/arm64.sh -j1
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/prepare.sh
# shellcheck disable=SC2086 # a list of words
installMissing $buildPackages g++-aarch64-linux-gnu qemu-user-static

folder=$PWD/build/arm64
root=$folder/root
libraries=$root/usr/lib/aarch64-linux-gnu

# The libraries of that architecture stand in a folder of their own, and so do apt's lists of them: the machine's
# packages stay as they are.
if [ ! -e "$libraries/libzstd.so" ]; then
    mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial" "$folder/packages"
    : >"$folder/status" # an empty file, for some versions of apt refuse /dev/null
    options=(-o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State::Lists="$folder/lists"
        -o Dir::State::status="$folder/status" -o Dir::Cache="$folder/cache"
        -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=)
    apt-get -qq "${options[@]}" update
    packages="libsimdjson-dev libutf8proc-dev libcli11-dev zlib1g-dev libzstd-dev"
    # With the shared libraries that these come for.
    # shellcheck disable=SC2086 # lists of words
    packages="$packages $(apt-cache "${options[@]}" depends $packages |
        sed -nE 's/.*Depends: ((lib(simdjson|utf8proc|zstd)[0-9]+)|zlib1g)$/\1/p')"
    # shellcheck disable=SC2086 # a list of words
    (cd "$folder/packages" && apt-get -qq "${options[@]}" download $packages)
    for package in "$folder"/packages/*.deb; do dpkg -x "$package" "$root"; done
fi

cmake -S . -B "$folder/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_UNITY_BUILD=ON -DKELVANE_BUILD_TESTS=OFF \
    -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ \
    -DCMAKE_LIBRARY_ARCHITECTURE=aarch64-linux-gnu -DCMAKE_FIND_ROOT_PATH="$root" \
    -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY \
    -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY >/dev/null
cmake --build "$folder/build" --target kelvane "$@"

kelvane=(qemu-aarch64-static -L /usr/aarch64-linux-gnu -E "LD_LIBRARY_PATH=$libraries" "$folder/build/tools/kelvane/kelvane")
"${kelvane[@]}" test examples
for example in examples/*/recording.jsonl; do
    example=$(dirname "$example")
    "${kelvane[@]}" run "$example/diagram.kelvane" "$example/recording.jsonl" | cmp - "$example/expected.jsonl"
    echo "$example: the same bytes"
done
