#!/usr/bin/env bash
# Builds the library and runs every test, first in the release preset, then
# under the address and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-dependencies.sh
cmake --workflow --preset release
cmake --workflow --preset sanitize
