#!/usr/bin/env bash
# Builds the library and runs every test, first in the release preset, then
# under the address and undefined-behaviour sanitizers; then runs each fuzz
# target for a few seconds as a smoke test.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-dependencies.sh
cmake --workflow --preset release
cmake --workflow --preset sanitize
bash tools/run-fuzz.sh 5
