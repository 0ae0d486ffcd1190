#!/usr/bin/env bash
# Two validations of the same file at once. The first one owns the report's
# outputs (through the lock file "<stem>.validacao.xml.trava"); the second
# stops at once with an E#C line and exit 2, touching nothing, and the first
# puts a whole report in place. Whatever the timing, the report is never cut
# and never holds NUL bytes.
#
#   bash tests/scripts/two_runs.sh [path/to/volp]
set -uo pipefail
cd "$(dirname "$0")/../.."
volp=${1:-build/release/volp}
[ -x "$volp" ] || { echo "two_runs: no $volp (build first)"; exit 1; }
tables=$(pwd)/data
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Big enough for a run of a second or so.
"$volp" generate --lines 1500000 -o "$work/decl.txt" >/dev/null
failures=0
overlapped=0
for round in 1 2 3 4 5; do
  rm -f "$work"/decl.validacao.xml*
  "$volp" validate -q --tables "$tables" --today 20260115 "$work/decl.txt" \
    >/dev/null 2>"$work/err1" &
  first=$!
  # The lock file appears when the first run has claimed the outputs.
  for _ in $(seq 1 500); do
    [ -e "$work/decl.validacao.xml.trava" ] && break
    sleep 0.01
  done
  "$volp" validate -q --tables "$tables" --today 20260115 "$work/decl.txt" \
    >/dev/null 2>"$work/err2"
  second=$?
  wait "$first"
  first_status=$?
  bad=""
  [ "$first_status" -le 1 ] || bad="first run failed ($first_status): $(cat "$work/err1")"
  if [ "$second" -eq 2 ]; then
    grep -q 'E#C9122' "$work/err2" || bad="$bad; second run failed without E#C9122"
    overlapped=$((overlapped + 1))
  elif [ "$second" -gt 2 ]; then
    bad="$bad; second run exit $second"
  fi
  report="$work/decl.validacao.xml"
  [ "$(tail -c 8 "$report")" = "</VOLP>" ] || bad="$bad; report cut"
  [ "$(tr -d '\000' <"$report" | wc -c)" -eq "$(wc -c <"$report")" ] || bad="$bad; NUL bytes"
  [ -e "$report.parcial" ] && bad="$bad; working file left"
  [ -e "$report.trava" ] && bad="$bad; lock file left"
  if [ -n "$bad" ]; then
    echo "two_runs: FAIL round $round: $bad"
    failures=$((failures + 1))
  else
    echo "two_runs: ok   round $round (first $first_status, second $second)"
  fi
done
if [ "$overlapped" -eq 0 ]; then
  echo "two_runs: FAIL the second run never stopped on the first one's claim (no lock, or the runs never overlapped)"
  failures=$((failures + 1))
fi
echo "two_runs: $failures failures"
[ "$failures" -eq 0 ]
