#!/usr/bin/env bash
# Installs a build tree into a fresh prefix and builds client programs against it, as a user of
# the installed library would: once with find_package(Kestrix), once with pkg-config; then runs
# them. The Windows form's programs run under Wine with Kestrix.dll beside them.
#
#   consume.sh native|mingw SOURCE_DIR BUILD_DIR WORK_DIR
set -euo pipefail
form=$1 source_dir=$2 build_dir=$3 work=$4

prefix="$work/prefix"
rm -rf "$work"
mkdir -p "$work/pkg-config"
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

consumer="$source_dir/tests/install/consumer"
example="$source_dir/docs/px_example.c"
# Only the installed tree's .pc files, none of the machine's.
export PKG_CONFIG_LIBDIR="$prefix/lib/pkgconfig"

run() {
  echo "-- $*"
  if [ "$form" = mingw ]; then
    cp "$prefix/bin/Kestrix.dll" "$(dirname "$1")/"
    "$source_dir/tools/wine-run" "$@"
  else
    "$@"
  fi
}

if [ "$form" = mingw ]; then
  # Kestrix_DIR is named outright: the cross toolchain looks for packages under its own root only.
  cmake -S "$consumer" -B "$work/find-package" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$source_dir/cmake/mingw-w64.cmake" \
        -DKestrix_DIR="$prefix/lib/cmake/Kestrix" -DKX_PX_EXAMPLE="$example" >/dev/null
  cc=x86_64-w64-mingw32-gcc-posix
  exe=.exe
else
  cmake -S "$consumer" -B "$work/find-package" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_PREFIX_PATH="$prefix" -DKX_PX_EXAMPLE="$example" >/dev/null
  cc=cc
  exe=
  # Not a system prefix: the loader is told where the libraries are.
  export LD_LIBRARY_PATH="$prefix/lib"
fi
cmake --build "$work/find-package" >/dev/null
run "$work/find-package/exports_consumer$exe"
run "$work/find-package/px_example$exe"

pc="$work/pkg-config"
# shellcheck disable=SC2046  # pkg-config's words are meant to split
$cc -o "$pc/exports_consumer$exe" "$consumer/exports_consumer.c" $(pkg-config --cflags --libs kestrix)
run "$pc/exports_consumer$exe"
if [ "$form" = mingw ]; then
  # kestrix-px is a static library on Windows: its C++ runtime comes from the .pc's private libraries.
  # shellcheck disable=SC2046
  $cc -o "$pc/px_example$exe" "$example" $(pkg-config --static --cflags --libs kestrix-px) -static
  run "$pc/px_example$exe"
else
  # shellcheck disable=SC2046
  $cc -o "$pc/px_example" "$example" $(pkg-config --cflags --libs kestrix-px)
  run "$pc/px_example"
  # The static archive, with the private libraries the .pc names for it.
  # shellcheck disable=SC2046
  $cc -o "$pc/px_example_static" "$example" $(pkg-config --cflags --libs-only-L kestrix-px) -l:libkestrix-px.a \
      $(pkg-config --libs-only-l --static kestrix-px | sed 's/-lkestrix-px//')
  run "$pc/px_example_static"
fi
echo "consumers of the $form install: ok"
