#!/usr/bin/env bash
# Installs the Debian packages that the build and the tests need. Quiet and quick when all is there.
set -euo pipefail
packages=(cmake ninja-build g++ make nlohmann-json3-dev libpugixml-dev libzip-dev zlib1g-dev libeigen3-dev
          libcli11-dev libgtest-dev libgmock-dev libbenchmark-dev)
# `make fuzz` builds with clang and links libFuzzer, whose runtime comes with clang's runtime
# libraries of the same version; only that target asks for them.
if [ "${TCM_FUZZ:-0}" = 1 ]; then
  packages+=(clang libclang-rt-dev)
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
# The browser test of the report needs a headless browser. It is optional: without one the test
# is skipped, so a failed install only says so.
browser=()
if [ "${TCM_WITH_BROWSER:-0}" = 1 ]; then
  for p in chromium chromium-driver python3-selenium; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || browser+=("$p")
  done
fi
[ ${#missing[@]} -eq 0 ] && [ ${#browser[@]} -eq 0 ] && exit 0
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq || [ ${#missing[@]} -eq 0 ]
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
if [ ${#browser[@]} -gt 0 ]; then
  echo "Installing the headless browser for the report's browser test: ${browser[*]}"
  $SUDO apt-get install -y -qq --no-install-recommends "${browser[@]}" >/dev/null ||
    echo "The browser could not be installed; the browser test will be skipped."
fi
