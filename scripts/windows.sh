#!/usr/bin/env bash
# volp for 64-bit Windows, cross-built on Debian 12 with mingw-w64 and tested
# under Wine.
#   scripts/windows.sh build   volp.dll, volp.exe and the tests in build/windows/
#   scripts/windows.sh test    the test suite under Wine, then the reports of
#                              volp.dll compared with the Linux build's
# Installs what it needs with apt-get (root or sudo), abseil from Debian's
# source package unpacked under build/windows-deps/ (kept between runs).
set -euo pipefail
exec </dev/null
cd "$(dirname "$0")/.."
root="$PWD"
command="${1:-}"
case "$command" in
  build | test) ;;
  *)
    echo "usage: $0 build|test" >&2
    exit 2
    ;;
esac

source scripts/deps.sh
# The Linux build is the reference of the comparison.
VOLP_PACKAGES+=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64
  dpkg-dev xz-utils libz-mingw-w64-dev)
volp_install_missing

deps="$root/build/windows-deps"
build="$root/build/windows"
export WINEDEBUG=-all
export WINEPREFIX="$root/build/wine"
export WINEARCH=win64
wine_bin="$(command -v wine64 || echo /usr/lib/wine/wine64)"

sudo_cmd() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# Debian's abseil sources, the version the Linux build links.
abseil_source() {
  local dir
  # Nothing unpacked yet on a fresh machine: find then fails, which is fine.
  dir="$(find "$deps/src" -maxdepth 1 -type d -name 'abseil-*' 2>/dev/null | head -n 1 || true)"
  if [ -n "$dir" ] && [ -f "$dir/CMakeLists.txt" ]; then
    echo "$dir"
    return 0
  fi
  local list=/etc/apt/sources.list.d/volp-deb-src.sources
  if ! apt-get indextargets 2>/dev/null | grep -q 'Created-By: Sources'; then
    echo "volp: adding a deb-src entry for Debian's sources ($list)" >&2
    sudo_cmd tee "$list" >/dev/null <<'SRC'
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: bookworm bookworm-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
SRC
    sudo_cmd apt-get update -q >&2
  fi
  mkdir -p "$deps/src"
  if ! (cd "$deps/src" && apt-get source -q abseil >&2); then
    # The source lists may be configured but not fetched yet.
    sudo_cmd apt-get update -q >&2
    (cd "$deps/src" && apt-get source -q abseil >&2)
  fi
  dir="$(find "$deps/src" -maxdepth 1 -type d -name 'abseil-*' | head -n 1)"
  [ -n "$dir" ] || {
    echo "volp: apt-get source abseil gave no source tree" >&2
    return 1
  }
  echo "$dir"
}

do_build() {
  local absl
  absl="$(abseil_source)"
  cmake -S "$root" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
    -DCMAKE_BUILD_TYPE=Release \
    -DVOLP_BUILD_BENCH=OFF \
    -DVOLP_ABSL_SOURCE_DIR="$absl"
  cmake --build "$build" -j "$(nproc)"
}

# The reports of the Linux build and of volp.dll (loaded by volp_host.exe, a
# transmitter in miniature, under Wine) for the same files: equal once the
# times, the date, the versions, the paths and the line ends are masked.
mask() {
  [ -s "$1" ] || {
    echo "(missing or empty: $1)"
    return 0
  }
  sed -E -e 's/\r$//' \
    -e 's#<(DataHoraValidacao|NomeArquivo|VersaoDLL)>[^<]*<#<\1>*<#' \
    -e 's#<(Leitura|Varredura|Registros|GravacaoValidacao|GravacaoRCAD|ValidadorMicrosegundos|ValidadorSegundos|TempoTotalProcessamento)>[0-9]*<#<\1>*<#' \
    -e '/<VersaoZulKop>/d' \
    "$1"
}

compare_with_linux() {
  local linux_cli="$root/build/release/volp"
  [ -f "$root/build/release/build.ninja" ] || cmake --preset release >/dev/null
  cmake --build --preset release -j "$(nproc)" --target volp_cli >/dev/null
  local work="$build/e2e"
  rm -rf "$work"
  mkdir -p "$work/linux" "$work/windows"
  cp examples/declaracao-exemplo.txt "$work/linux/exemplo.txt"
  "$linux_cli" generate --transactions 2000 --faults bad-date,lf-only -o "$work/linux/falhas.txt" \
    >/dev/null
  cp "$work/linux/exemplo.txt" "$work/linux/falhas.txt" "$work/windows/"
  # ValidadorVOLP reads the municipality table from the current directory and
  # validates as of today, as the Linux CLI does by default.
  cp data/RELATORIO_DTB_BRASIL_MUNICIPIO.csv "$work/windows/"
  local status=0 name side
  for name in exemplo falhas; do
    (cd "$work/linux" && "$linux_cli" validate "$name.txt" --tables "$root/data" --quiet) || true
    (cd "$work/windows" && "$wine_bin" "$build/volp_host.exe" "$name.txt") || true
    for side in linux windows; do
      [ -f "$work/$side/$name.validacao.xml" ] || {
        echo "=== e2e: $side wrote no report for $name" >&2
        status=1
      }
    done
    if ! diff <(mask "$work/linux/$name.validacao.xml") <(mask "$work/windows/$name.validacao.xml"); then
      echo "=== e2e: the reports of $name differ" >&2
      status=1
    fi
    if [ -f "$work/linux/$name.rcad.txt" ] || [ -f "$work/windows/$name.rcad.txt" ]; then
      if ! diff <(sed 's/\r$//' "$work/linux/$name.rcad.txt") \
        <(sed 's/\r$//' "$work/windows/$name.rcad.txt"); then
        echo "=== e2e: the registration summaries of $name differ" >&2
        status=1
      fi
    fi
    if ! grep -q $'\r$' "$work/windows/$name.validacao.xml"; then
      echo "=== e2e: the Windows report of $name does not end its lines in CR LF" >&2
      status=1
    fi
  done
  [ "$status" -eq 0 ] && echo "=== e2e: Linux and Windows reports agree (exemplo, falhas)"
  return "$status"
}

do_test() {
  do_build  # up to date: nothing to do
  # The first start makes the Wine prefix (about 20 s); later ones reuse it.
  [ -d "$WINEPREFIX" ] || "$wine_bin" wineboot -i >/dev/null 2>&1 || true
  local status=0
  ctest --test-dir "$build" --output-on-failure -j "$(nproc)" || status=1
  compare_with_linux || status=1
  return "$status"
}

case "$command" in
  build) do_build ;;
  test) do_test ;;
esac
