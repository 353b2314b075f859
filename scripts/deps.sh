#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need when run as root; otherwise names
# the missing ones in one clear error. Never asks a question: it also runs in CI with no stdin.
set -euo pipefail
pkgs=(cmake g++ ninja-build make pkg-config libgtest-dev libgmock-dev libbenchmark-dev liblmdb-dev
      tshark python3-scapy iproute2)
if ! command -v dpkg-query >/dev/null 2>&1; then
  echo "note: not a Debian system; make sure these (or their equivalents) are installed: ${pkgs[*]}" >&2
  exit 0
fi
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -ne 0 ]; then
  echo "error: missing Debian packages: ${missing[*]}" >&2
  echo "       install them with: sudo apt-get install ${missing[*]}" >&2
  echo "       (or run this make target as root, which installs them)" >&2
  exit 1
fi
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# tshark's package asks whether non-root users may capture; answer it before it is asked
echo "wireshark-common wireshark-common/install-setuid boolean false" | debconf-set-selections
apt-get update -qq </dev/null
apt-get install -y -qq --no-install-recommends -o DPkg::Lock::Timeout=300 \
  -o Dpkg::Options::=--force-confdef -o Dpkg::Options::=--force-confold "${missing[@]}" </dev/null >/dev/null
