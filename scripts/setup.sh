#!/usr/bin/env bash
# Installs the Debian packages that building, testing and benchmarking vxxml
# need. Idempotent: it installs only what is missing and says nothing when
# everything is already there.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  libexpat1-dev libpcre2-dev zlib1g-dev            # run-time dependencies
  libgtest-dev libgmock-dev                        # unit tests
  libbenchmark-dev libssl-dev libpugixml-dev       # benchmarks and their references
  libxml2-utils jq                                 # outside oracles
  shared-mime-info iso-codes xml-core polkitd      # real documents read by the tests
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
