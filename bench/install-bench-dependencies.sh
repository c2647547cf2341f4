#!/usr/bin/env bash
# Installs what the benchmarks compare against, from Debian's packages, if
# missing: Lua 5.4, embedded by the script machine benchmark, and Boost's
# headers, whose R-tree the quad tree benchmark measures. Both are optional.
set -euo pipefail
bash "$(dirname "$0")/../tools/install-packages.sh" liblua5.4-dev pkg-config libboost-dev
