#!/usr/bin/env bash
# Builds volp (Release) and validates the bundled example declaration.
# Extra arguments go to "volp validate", e.g. --findings 50 or --today 20260115.
# Exit status: that of volp validate (0 valid, 1 errors, 2 not done).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
volp_install_missing

cmake --preset release
cmake --build --preset release --target volp_cli -j "$(nproc)"
exec ./build/release/volp validate examples/declaracao-exemplo.txt "$@"
