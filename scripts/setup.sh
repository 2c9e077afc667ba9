#!/usr/bin/env bash
# Installs what the build and the tests need on Debian 12. Packages already present are
# skipped, so a second run costs seconds. Extra package names may be given as arguments
# (the benchmark script passes its peers this way).
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config gzip coreutils
          libboost1.81-dev zlib1g-dev libgtest-dev libgmock-dev
          libssl-dev openssl libboost-json1.81-dev curl
          libicu-dev tzdata clang libclang-rt-14-dev python3 "$@")

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=()
if [[ $(id -u) -ne 0 ]]; then sudo=(sudo); fi
echo "Installing: ${missing[*]}"
"${sudo[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
