#!/usr/bin/env bash
# Fails when a C++ source of the repository is not formatted as .clang-format
# says; `scripts/check-format.sh --fix` formats them in place.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
VOLP_PACKAGES=(clang-format git)
volp_install_missing

mapfile -t files < <(git ls-files '*.cpp' '*.hpp' '*.h')
if [ "${1:-}" = --fix ]; then
  clang-format -i "${files[@]}"
  exit 0
fi
if ! clang-format --dry-run -Werror "${files[@]}"; then
  echo "check-format: run scripts/check-format.sh --fix" >&2
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"
