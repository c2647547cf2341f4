#!/usr/bin/env bash
# Installs what building and testing need, from Debian's packages, if missing.
set -euo pipefail
bash "$(dirname "$0")/install-packages.sh" cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev
