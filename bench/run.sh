#!/usr/bin/env bash
# Times `volp validate` against `openssl dgst -sha256` on the same generated
# declaration file. Hashing reads every byte once, which any validator must
# do too, so it is the floor that the ratio is measured against.
#
#   bash bench/run.sh             the ~1 GiB file (about 13 million lines, mostly 1115)
#   bash bench/run.sh --big       the ~10 GiB file
#   bash bench/run.sh --scaling   1, 4, 16 and 64 million lines: time and peak memory per line;
#                                 then registries of 2 and 5 million clients against the
#                                 same mix of records at a hundredth of the size
#   options: --reps N (default 5), --volp PATH (default build/release/volp)
#
# Files are generated once and kept in bench/cache/ (ignored by git). The runs
# alternate volp and openssl so that both see the same page cache and machine
# load; medians are printed. Peak RSS comes from /usr/bin/time.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cache="$root/bench/cache"
volp="$root/build/release/volp"
reps=5
mode=normal

while [ $# -gt 0 ]; do
  case "$1" in
    --big) mode=big ;;
    --scaling) mode=scaling ;;
    --reps) reps=$2; shift ;;
    --volp) volp=$2; shift ;;
    -h|--help) sed -n '2,15p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "bench/run.sh: unknown option $1 (see --help)" >&2; exit 2 ;;
  esac
  shift
done

for tool in /usr/bin/time openssl; do
  command -v "$tool" >/dev/null || { echo "bench/run.sh: $tool is needed" >&2; exit 2; }
done
if [ ! -x "$volp" ]; then
  echo "== building the Release CLI ($volp)"
  (cd "$root" && cmake --preset release >/dev/null && cmake --build --preset release -j2 --target volp_cli)
fi
mkdir -p "$cache"
tmp=$(mktemp)
trap 'rm -f "$tmp"' EXIT

# generate FILE ARGS...: once; the same arguments always give the same bytes.
generate() {
  local file=$1; shift
  if [ ! -s "$file" ]; then
    echo "== generating $file ($*)"
    "$volp" generate --seed 1 -o "$file.tmp" "$@" >/dev/null
    mv "$file.tmp" "$file"
  fi
}

# measure CMD...: prints "seconds peak_rss_kib"; fails when CMD fails.
measure() {
  if ! /usr/bin/time -f "%e %M" -o "$tmp" "$@" >/dev/null 2>&1; then
    echo "bench/run.sh: failed: $*" >&2
    exit 1
  fi
  cat "$tmp"
}

median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# The line count stated by the file's own 9999 record.
lines_of() { tail -c 64 "$1" | tr -d '\r' | awk -F'|' '$2 == "9999" { print $3 }'; }

validate() { measure "$volp" validate --quiet --tables "$root/data" "$1"; }

compare() {
  local file=$1 lines bytes v=() s=() r=()
  lines=$(lines_of "$file")
  bytes=$(stat -c %s "$file")
  echo "== $file: $lines lines, $bytes bytes; $reps runs of each, alternating"
  # One untimed pass first: the runs compare work on a file in the page
  # cache, and the first to touch a cold file would pay for the disk.
  openssl dgst -sha256 "$file" >/dev/null
  for ((i = 1; i <= reps; i++)); do
    read -r t m < <(validate "$file")
    v+=("$t"); r+=("$m")
    read -r t _ < <(measure openssl dgst -sha256 "$file")
    s+=("$t")
    printf '   run %d: volp %6.2f s  sha256 %6.2f s  peak RSS %d MiB\n' "$i" "${v[-1]}" "$t" $((m / 1024))
  done
  local mv ms mr
  mv=$(printf '%s\n' "${v[@]}" | median)
  ms=$(printf '%s\n' "${s[@]}" | median)
  mr=$(printf '%s\n' "${r[@]}" | median)
  awk -v v="$mv" -v s="$ms" -v r="$mr" -v l="$lines" -v b="$bytes" 'BEGIN {
    printf "   median: volp %.2f s, openssl dgst -sha256 %.2f s, ratio %.2f\n", v, s, v / s
    printf "   volp: %.1f million lines/s, %.0f MB/s, peak RSS %.0f MiB\n", l / v / 1e6, b / v / 1e6, r / 1024
  }'
}

case "$mode" in
  normal)
    generate "$cache/volp_1g.txt" --transactions 11800000
    compare "$cache/volp_1g.txt"
    ;;
  big)
    generate "$cache/volp_10g.txt" --transactions 118000000
    compare "$cache/volp_10g.txt"
    ;;
  scaling)
    echo "== scaling: the same shape at 1 to 64 million lines (one run each)"
    printf '%12s %12s %10s %14s %14s %16s\n' lines bytes seconds "ns/line" "peak RSS MiB" "RSS bytes/line"
    for m in 1 4 16 64; do
      file="$cache/volp_${m}m.txt"
      generate "$file" --lines $((m * 1000000))
      lines=$(lines_of "$file")
      read -r t kib < <(validate "$file")
      awk -v n="$lines" -v b="$(stat -c %s "$file")" -v t="$t" -v k="$kib" 'BEGIN {
        printf "%12.0f %12.0f %10.2f %14.1f %14.0f %16.1f\n", n, b, t, t * 1e9 / n, k / 1024, k * 1024 / n
      }'
    done

    # Registries: millions of clients (one in five identified by CPF) and
    # 1.5 devices each, at the fewest transactions the generator accepts for
    # them. The reference is the same shape at a hundredth of the size: the
    # same mix of records (a 0100, a 1100 and about six 1110 per client) with
    # registries that fit in cache. The mix sets most of the cost of a line (a
    # 1100 or a 1110 is several times the work of a 1115), so only that
    # comparison shows what the size of the registries costs. Time per line
    # should stay close to the reference's; peak memory is mostly the
    # registries. Medians of three alternating runs.
    echo "== registries: millions of clients and devices against the same mix at 1/100 (median of 3)"
    printf '%-8s %10s %10s %12s %10s %10s %12s %14s\n' shape clients devices lines seconds \
      "ns/line" "x 1/100" "peak RSS MiB"
    for shape in 2m 5m; do
      case $shape in
        2m) c=2000000 d=3000000 x=14400000 ;;
        5m) c=5000000 d=7500000 x=36000000 ;;
      esac
      file="$cache/volp_clients_${shape}.txt"
      generate "$file" --clients $c --devices $d --transactions $x
      small="$cache/volp_clients_${shape}_100th.txt"
      generate "$small" --clients $((c / 100)) --devices $((d / 100)) --transactions $((x / 100))
      ts=() tb=() kb=()
      for ((i = 1; i <= 3; i++)); do
        read -r t k < <(validate "$small")
        ts+=("$t"); ks=$k
        read -r t k < <(validate "$file")
        tb+=("$t"); kb+=("$k")
      done
      ns_small=$(awk -v n="$(lines_of "$small")" -v t="$(printf '%s\n' "${ts[@]}" | median)" \
        'BEGIN { print t * 1e9 / n }')
      awk -v s="$shape" -v c="$((c / 100))" -v d="$((d / 100))" -v n="$(lines_of "$small")" \
        -v t="$(printf '%s\n' "${ts[@]}" | median)" -v k="$ks" 'BEGIN {
        printf "%-8s %10s %10s %12.0f %10.2f %10.1f %12.2f %14.0f\n", s "/100", c, d, n, t, t * 1e9 / n, 1, k / 1024
      }'
      awk -v s="$shape" -v c="$c" -v d="$d" -v n="$(lines_of "$file")" \
        -v t="$(printf '%s\n' "${tb[@]}" | median)" -v k="$(printf '%s\n' "${kb[@]}" | median)" \
        -v base="$ns_small" 'BEGIN {
        ns = t * 1e9 / n
        printf "%-8s %10s %10s %12.0f %10.2f %10.1f %12.2f %14.0f\n", s, c, d, n, t, ns, ns / base, k / 1024
      }'
    done
    ;;
esac
