#!/usr/bin/env bash
# Installs the Debian packages that the build and the tests need. Quiet and quick when all is there.
set -euo pipefail
packages=(cmake ninja-build g++ make nlohmann-json3-dev libpugixml-dev libzip-dev libeigen3-dev
          libcli11-dev libgtest-dev libgmock-dev libbenchmark-dev)
# The browser test of the report needs a headless browser; it is skipped where none is present.
if [ "${TCM_WITH_BROWSER:-0}" = 1 ]; then packages+=(chromium chromium-driver); fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
