#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need when run as root; otherwise names
# the missing ones in one clear error.
set -euo pipefail
need_cmds=(cmake g++ tshark)
pkgs=(cmake g++ libgtest-dev libgmock-dev libbenchmark-dev tshark python3-scapy iproute2 ninja-build)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -eq 0 ]; then
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq "${missing[@]}" >/dev/null
else
  echo "error: missing Debian packages: ${missing[*]}" >&2
  echo "       install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
