#!/usr/bin/env bash
# Keeps the library's shape: each stage under src/ may include its own
# headers and those of the stages below it, never one above or beside it; the
# tools see only the public API under include/. Prints every include that
# breaks the order and exits 1 when there is one.
set -euo pipefail
cd "$(dirname "$0")/.."

# The stages, bottom first (docs/architecture.md).
stages=(platform core reading fields rules structure reports driver entry)
declare -A rank
for i in "${!stages[@]}"; do rank[${stages[$i]}]=$i; done

bad=0
complain() {
  echo "$1" >&2
  bad=1
}

while IFS= read -r file; do
  stage=${file#src/}
  stage=${stage%%/*}
  if [ -z "${rank[$stage]+x}" ]; then
    complain "$file: src/$stage/ is not a known stage (add it to scripts/check-layers.sh and docs/architecture.md)"
    continue
  fi
  while IFS= read -r hit; do
    line=${hit%%:*}
    target=$(sed -E 's/.*#include "([^"]+)".*/\1/' <<<"${hit#*:}")
    dir=${target%%/*}
    [ "$dir" = "$target" ] && continue  # a header beside the file
    [ "$dir" = volp ] && continue       # the public API
    [ "$dir" = absl ] && continue       # containers
    if [ -z "${rank[$dir]+x}" ]; then
      complain "$file:$line: includes \"$target\", outside the library's stages"
    elif [ "${rank[$dir]}" -gt "${rank[$stage]}" ]; then
      complain "$file:$line: $stage/ includes \"$target\" from $dir/, a stage above it"
    fi
  done < <(grep -n '^#include "' "$file" || true)
done < <(find src -name '*.hpp' -o -name '*.cpp' | sort)

# The command-line tools use the library as any program would.
while IFS= read -r hit; do
  target=$(sed -E 's/.*#include "([^"]+)".*/\1/' <<<"$hit")
  dir=${target%%/*}
  if [ -n "${rank[$dir]+x}" ]; then
    complain "${hit%%:#*}: a tool includes \"$target\"; tools use only include/volp/"
  fi
done < <(grep -rn '^#include "' tools || true)

# Every message of a finding lives in the message table (core/messages.inc):
# the stages name a message by its id. A finding's text written out in a
# stage, or a printf format for one, is a message outside the table.
while IFS= read -r hit; do
  complain "$hit: a finding's text outside core/messages.inc (add a row and use its MsgId)"
done < <(grep -rnE '\bReportText(At)?\(|\bMsg m\b|\bm\("' src --include='*.cpp' --include='*.hpp' |
  grep -v '^src/core/' || true)

if [ "$bad" -ne 0 ]; then
  echo "check-layers: includes against the stage order (see docs/architecture.md)" >&2
  exit 1
fi
echo "check-layers: every include runs downward"
