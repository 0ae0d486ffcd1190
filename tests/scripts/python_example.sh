#!/usr/bin/env bash
# The Python ctypes example (examples/python/volp_check.py) against the shared
# library: the bundled valid example, a generated file with two faults, a
# missing file and a library that cannot be loaded, each with the exit status
# and the lines a user reads.
#
#   bash tests/scripts/python_example.sh PYTHON LIBVOLP VOLP_CLI
set -uo pipefail
cd "$(dirname "$0")/../.."
python=$1
lib=$2
volp=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp examples/declaracao-exemplo.txt "$work/exemplo.txt"
"$volp" generate --transactions 300 --faults bad-date,lf-only -o "$work/falhas.txt" >/dev/null ||
  exit 1

failures=0
# check NAME EXPECTED_STATUS FILE [PATTERN...]: every pattern (grep -E) must be in the output.
check() {
  local name=$1 expected=$2 file=$3
  shift 3
  local out status
  out=$("$python" examples/python/volp_check.py "$file" --lib "$lib" --tables data \
    --today 20260115 2>&1)
  status=$?
  if [ "$status" -ne "$expected" ]; then
    echo "FAIL $name: exit status $status, expected $expected"
    echo "$out"
    failures=$((failures + 1))
    return
  fi
  local pattern
  for pattern in "$@"; do
    if ! grep -Eq -- "$pattern" <<<"$out"; then
      echo "FAIL $name: no line matching '$pattern' in:"
      echo "$out"
      failures=$((failures + 1))
    fi
  done
  echo "ok   $name"
}

check "valid example" 0 "$work/exemplo.txt" \
  '^.*exemplo.txt: valid \(0 errors, 0 warnings, [0-9]+ records' \
  '^complete: the whole file was read; SHA-256 [0-9A-F]{64}$' \
  "^report: $work/exemplo.validacao.xml$"
check "two faults" 1 "$work/falhas.txt" \
  'falhas.txt: invalid \(2 errors' \
  '^complete:' \
  '^VOLP-[A-Z0-9-]+  error  x1$' \
  '^  line [0-9]+: Campo [0-9]+ .* contém data inválida' \
  '^  line [0-9]+: .*(CR|LF)'
check "missing file" 2 "$work/nao-existe.txt" \
  'nao-existe.txt: not validated: E#C9102: Erro ao tentar obter informações do arquivo'
lib=$work/nao-existe.so check "no library" 2 "$work/exemplo.txt" 'libvolp|nao-existe'

[ "$failures" -eq 0 ]
