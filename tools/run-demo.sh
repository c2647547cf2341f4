#!/usr/bin/env bash
# Builds the library and the demo host in the release preset (installing
# what is missing first) and runs qvdemo, which writes demo.svg into the
# project root and prints a summary. Arguments go on to qvdemo
# (bash tools/run-demo.sh --help lists them).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
bash tools/install-dependencies.sh
cmake --preset release
cmake --build --preset release --target qvdemo
# The path finder leaves its debugging dumps in the working directory: keep
# them out of the source tree.
mkdir -p build/release/demo-run
cd build/release/demo-run
"$root/build/release/examples/demo/qvdemo" --out "$root/demo.svg" "$@"
