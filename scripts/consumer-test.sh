#!/usr/bin/env bash
# The installed library as its users meet it:
#   1. builds volp (Release) and installs it into a staging prefix;
#   2. builds the programs of tests/consumer/ against that prefix twice, with
#      CMake's find_package(volp CONFIG) and with pkg-config, and runs them;
#   3. makes the Debian package with cpack, installs it (root only), runs the
#      installed volp on a copy of the example from a directory of its own,
#      and removes (purges) the package.
# Exit status 0 when everything that ran passed.
set -euo pipefail
exec </dev/null
cd "$(dirname "$0")/.."
root="$PWD"
source scripts/deps.sh
volp_install_missing

build="$root/build/release"
work="$root/build/consumer"
stage="$work/stage"
example="$root/examples/declaracao-exemplo.txt"
table=RELATORIO_DTB_BRASIL_MUNICIPIO.csv
rm -rf "$work"
mkdir -p "$work"

status=0
fail() {
  echo "=== consumer: $*" >&2
  status=1
}

cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
cmake --install "$build" --prefix "$stage" >/dev/null

# The installed layout, and an interface that asks for nothing but volp's
# own headers and library.
libdir="$(cd "$stage" && find . -name 'libvolp.so.*.*.*' -printf '%h\n' | head -n 1)"
libdir="${libdir#./}"
for f in bin/volp "$libdir/libvolp.so" "$libdir/libvolp.so.1" include/volp/volp.h \
  include/volp/validator.hpp "$libdir/cmake/volp/volpConfig.cmake" \
  "$libdir/cmake/volp/volpConfigVersion.cmake" "$libdir/pkgconfig/volp.pc" "share/volp/$table"; do
  [ -e "$stage/$f" ] || fail "not installed: $f"
done
soname="$(readelf -d "$stage/$libdir/libvolp.so" | sed -n 's/.*SONAME.*\[\(.*\)\].*/\1/p')"
[ "$soname" = libvolp.so.1 ] || fail "SONAME is '$soname', not libvolp.so.1"
if grep -E 'absl|OpenSSL|Threads' "$stage/$libdir"/cmake/volp/volpTargets*.cmake; then
  fail "the exported target passes volp's own dependencies on to its users"
fi

# Runs the two programs from directories of their own: the C entry reads the
# table from its current directory; the C++ API finds the installed one.
run_consumers() {
  local how="$1" bin="$2" dir
  dir="$work/run-$how"
  mkdir -p "$dir/c" "$dir/cpp"
  cp "$example" "$dir/c/exemplo.txt"
  cp "$stage/share/volp/$table" "$dir/c/"
  cp "$example" "$dir/cpp/exemplo.txt"
  if (cd "$dir/c" && LD_LIBRARY_PATH="$stage/$libdir" "$bin/consumer_c" exemplo.txt) &&
    [ -f "$dir/c/exemplo.validacao.xml" ]; then
    echo "=== consumer ($how): C program ran ValidadorVOLP"
  else
    fail "the C program built with $how failed"
  fi
  local out
  if out="$(cd "$dir/cpp" && LD_LIBRARY_PATH="$stage/$libdir" "$bin/consumer_cpp" exemplo.txt)" &&
    grep -qx "tables $stage/share/volp/$table" <<<"$out" &&
    [ -f "$dir/cpp/exemplo.validacao.xml" ]; then
    echo "=== consumer ($how): C++ program ran Validate with the installed table"
  else
    printf '%s\n' "$out" >&2
    fail "the C++ program built with $how failed or did not use the installed table"
  fi
}

# find_package(volp CONFIG) with the staging prefix.
if cmake -S tests/consumer -B "$work/cmake-build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$stage" >"$work/cmake-build.log" 2>&1 &&
  cmake --build "$work/cmake-build" >>"$work/cmake-build.log" 2>&1; then
  run_consumers cmake "$work/cmake-build"
else
  cat "$work/cmake-build.log" >&2
  fail "building against find_package(volp) failed"
fi

# pkg-config, with volp.pc alone on its path.
mkdir -p "$work/pc-build"
export PKG_CONFIG_PATH="$stage/$libdir/pkgconfig"
if flags="$(pkg-config --cflags --libs volp)" &&
  cc -o "$work/pc-build/consumer_c" tests/consumer/consumer.c $flags &&
  c++ -std=c++17 -o "$work/pc-build/consumer_cpp" tests/consumer/consumer.cpp $flags; then
  echo "=== consumer (pkg-config): volp $(pkg-config --modversion volp): $flags"
  run_consumers pkg-config "$work/pc-build"
else
  fail "building against pkg-config's volp failed"
fi
unset PKG_CONFIG_PATH

# The Debian package.
if (cd "$build" && cpack -G DEB) >"$work/cpack.log" 2>&1; then
  deb="$(ls "$build"/volp_*.deb | head -n 1)"
  echo "=== consumer: $(basename "$deb"), $(stat -c %s "$deb") bytes"
  dpkg-deb -I "$deb" | sed -n 's/^ \(Package\|Version\|Depends\|Maintainer\):/  \1:/p'
  if [ "$(id -u)" -ne 0 ]; then
    echo "=== consumer: dpkg -i skipped (not root)"
  elif dpkg -i "$deb" >"$work/dpkg.log" 2>&1; then
    mkdir -p "$work/deb-run"
    cp "$example" "$work/deb-run/exemplo.txt"
    # 0 valid or 1 errors are both runs that were done; 2 is not.
    set +e
    (cd "$work/deb-run" && /usr/bin/volp validate exemplo.txt >"$work/deb-run.log" 2>&1)
    code=$?
    set -e
    if [ "$code" -le 1 ] && grep -q "share/volp/$table" "$work/deb-run.log" &&
      [ -f "$work/deb-run/exemplo.validacao.xml" ]; then
      echo "=== consumer: the installed volp validated the example (exit $code)"
    else
      cat "$work/deb-run.log" >&2
      fail "the installed volp did not run (exit $code)"
    fi
    # Removed with its dpkg records too (purge), leaving the machine as it was.
    dpkg -P volp >>"$work/dpkg.log" 2>&1 || fail "dpkg -P volp failed"
  else
    cat "$work/dpkg.log" >&2
    fail "dpkg -i failed"
  fi
else
  cat "$work/cpack.log" >&2
  fail "cpack -G DEB failed"
fi

[ "$status" -eq 0 ] && echo "=== consumer: passed"
exit "$status"
