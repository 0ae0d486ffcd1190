#!/usr/bin/env bash
# A nearly full disk must never give a cut report with a success. On a small
# tmpfs, with a filler file leaving less and less room, `volp validate` either
# puts a whole report in place (exit 0 or 1) or says it could not (exit 2)
# with the previous report untouched and no working file or summary left.
#
#   bash tests/scripts/disk_full.sh [path/to/volp]      (needs root for mount)
set -uo pipefail
cd "$(dirname "$0")/../.."
volp=${1:-build/release/volp}
if [ "$(id -u)" -ne 0 ]; then
  echo "disk_full: skipped (mounting a tmpfs needs root)"
  exit 0
fi
[ -x "$volp" ] || { echo "disk_full: no $volp (build first)"; exit 1; }
tables=$(pwd)/data

work=$(mktemp -d)
mnt=$work/mnt
mkdir -p "$mnt"
cleanup() { umount "$mnt" 2>/dev/null; rm -rf "$work"; }
trap cleanup EXIT
if ! mount -t tmpfs -o size=64k tmpfs "$mnt"; then
  echo "disk_full: skipped (cannot mount a tmpfs here)"
  exit 0
fi

"$volp" generate --transactions 40 --clients 3 --devices 3 -o "$work/clean.txt" >/dev/null
"$volp" generate --transactions 40 --clients 3 --devices 3 --faults sum-1110 \
  -o "$work/errors.txt" --manifest "$work/m.json" >/dev/null
previous='<previous report, kept until a whole new one replaces it>'
failures=0
checked=0
for input in clean errors; do
  for free_kib in 0 1 2 4 6 8 12 16 24 32; do
    rm -rf "${mnt:?}"/*
    cp "$work/$input.txt" "$mnt/decl.txt"
    printf '%s\n' "$previous" >"$mnt/decl.validacao.xml"
    # Fill the disk, then give back the room asked for.
    dd if=/dev/zero of="$mnt/filler" bs=1k 2>/dev/null
    if [ "$free_kib" -gt 0 ]; then
      size=$(stat -c %s "$mnt/filler")
      truncate -s $((size - free_kib * 1024)) "$mnt/filler"
    fi
    "$volp" validate -q --tables "$tables" --today 20260115 "$mnt/decl.txt" >/dev/null 2>"$work/err"
    status=$?
    report=$(cat "$mnt/decl.validacao.xml")
    what="$input, ${free_kib} KiB free: exit $status"
    bad=""
    case $status in
      0 | 1)
        [ "$(tail -c 8 "$mnt/decl.validacao.xml")" = "</VOLP>" ] || bad="cut report with a verdict"
        [ -e "$mnt/decl.validacao.xml.parcial" ] && bad="$bad; working file left"
        ;;
      2)
        [ "$report" = "$previous" ] || bad="previous report not kept"
        [ -e "$mnt/decl.rcad.txt" ] && bad="$bad; summary of a failed run"
        [ -s "$mnt/decl.validacao.xml.parcial" ] && bad="$bad; working file left"
        grep -q 'E#C' "$work/err" || bad="$bad; no E#C line"
        ;;
      *) bad="unexpected exit" ;;
    esac
    checked=$((checked + 1))
    if [ -n "$bad" ]; then
      echo "disk_full: FAIL $what: $bad"
      failures=$((failures + 1))
    else
      echo "disk_full: ok   $what"
    fi
  done
done
# A gzip file is validated through a decompressed copy in the report
# directory, which never leaves less than 1 GiB free on its disk: on this
# small disk the run says so, exits 2 and leaves no copy behind.
gzip -c "$work/clean.txt" >"$work/clean.txt.gz"
for free_kib in 0 4; do
  rm -rf "${mnt:?}"/*
  dd if=/dev/zero of="$mnt/filler" bs=1k 2>/dev/null
  if [ "$free_kib" -gt 0 ]; then
    size=$(stat -c %s "$mnt/filler")
    truncate -s $((size - free_kib * 1024)) "$mnt/filler"
  fi
  "$volp" validate -q --tables "$tables" --today 20260115 --report-dir "$mnt" \
    "$work/clean.txt.gz" >/dev/null 2>"$work/err"
  status=$?
  what="gzip copy, ${free_kib} KiB free: exit $status"
  bad=""
  [ "$status" -eq 2 ] || bad="not exit 2"
  grep -q 'would leave less than 1 GiB free' "$work/err" || bad="$bad; no message"
  ls -A "$mnt" | grep -q '^\.volp-' && bad="$bad; copy left"
  checked=$((checked + 1))
  if [ -n "$bad" ]; then
    echo "disk_full: FAIL $what: $bad"
    failures=$((failures + 1))
  else
    echo "disk_full: ok   $what"
  fi
done
echo "disk_full: $checked runs, $failures failures"
[ "$failures" -eq 0 ]
