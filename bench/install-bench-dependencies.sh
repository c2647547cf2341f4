#!/usr/bin/env bash
# Installs what the benchmarks compare against, from Debian's packages, if
# missing: Lua 5.4, embedded by the script machine benchmark.
set -euo pipefail
packages=(liblua5.4-dev pkg-config)
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi
