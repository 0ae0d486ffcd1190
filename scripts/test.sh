#!/usr/bin/env bash
# Builds volp and runs the whole test suite.
#   scripts/test.sh [release|asan|debug]   (default release)
# asan is the AddressSanitizer + UndefinedBehaviorSanitizer build.
set -euo pipefail
preset="${1:-release}"
case "$preset" in
  release | asan | debug) ;;
  *)
    echo "usage: $0 [release|asan|debug]" >&2
    exit 2
    ;;
esac
cd "$(dirname "$0")/.."
source scripts/deps.sh
volp_install_missing

jobs="$(nproc)"
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$jobs"
ctest --preset "$preset" -j "$jobs"
