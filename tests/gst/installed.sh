#!/usr/bin/env bash
# Installs the build tree into a fresh prefix and asks gst-inspect-1.0 for kestrixmotion there,
# with the plugin path pointing at the installed lib/gstreamer-1.0 only and no library path: the
# plugin must find libkestrix by itself.
#
#   installed.sh BUILD_DIR WORK_DIR
set -euo pipefail
build_dir=$1 work=$2
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
plugin_dir="$work/prefix/lib/gstreamer-1.0"
test -f "$plugin_dir/libgstkestrix.so"
out=$(env -u LD_LIBRARY_PATH GST_PLUGIN_PATH="$plugin_dir" GST_REGISTRY="$work/registry.bin" \
      gst-inspect-1.0 kestrixmotion)
grep -F "$plugin_dir/libgstkestrix.so" <<<"$out" >/dev/null
grep -E '^  zones +:' <<<"$out" >/dev/null
echo "kestrixmotion found in the installed tree: ok"
