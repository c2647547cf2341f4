#!/usr/bin/env bash
# Installs Boost's headers from Debian's libboost-dev, if missing: the quad
# tree benchmark compares against Boost.Geometry's R-tree when they are there.
set -euo pipefail
if dpkg -s libboost-dev >/dev/null 2>&1; then
  exit 0
fi
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
$sudo_cmd apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq libboost-dev
