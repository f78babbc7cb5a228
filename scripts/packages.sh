# The Debian packages the scripts need, and the one place that installs them. Sourced by
# scripts/check, scripts/demo and scripts/bench.

# What every build needs: the tools, GoogleTest and the X11 client libraries of the painting layer.
kx_build_packages=(cmake ninja-build g++ pkg-config googletest libgtest-dev libxcb1-dev libxcb-shm0-dev)
# The Python package (pybind11 over Debian's Python and numpy) and the GStreamer plugin.
kx_python_packages=(pybind11-dev python3-dev python3-numpy)
kx_gstreamer_packages=(libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base
                       gstreamer1.0-tools python3-gst-1.0)
# scripts/check: the benchmark harness, the Windows cross-build and Wine, an X server for the
# painting tests, clang for the fuzz targets, libpng and ffmpeg for the demo, qemu for the level
# models, pytest, OpenCV and venv for the Python tests, and the GStreamer plugins its tests run.
kx_check_packages=("${kx_build_packages[@]}" libbenchmark-dev mingw-w64 g++-mingw-w64-x86-64 wine wine64 xvfb
                   xauth x11-utils clang libclang-rt-14-dev libpng-dev ffmpeg qemu-user
                   "${kx_python_packages[@]}" python3-pytest python3-opencv python3-venv python3-pip
                   python3-setuptools python3-wheel "${kx_gstreamer_packages[@]}" gstreamer1.0-plugins-good)
# scripts/demo: libpng for its pictures, Xvfb for painting without a display, ffmpeg for --input.
kx_demo_packages=("${kx_build_packages[@]}" libpng-dev xvfb ffmpeg)
# scripts/bench: the harness and the peers, the Python frame and GStreamer's motioncells.
kx_bench_packages=(libbenchmark-dev libopencv-dev libyuv-dev libswscale-dev libxcb1-dev libxcb-shm0-dev xvfb
                   "${kx_python_packages[@]}" "${kx_gstreamer_packages[@]}" gstreamer1.0-opencv)

# kx_install_packages [--optional] package...: installs the missing ones as root with apt-get, its
# output on stderr. Without root it stops the script, or with --optional only says what is missing.
kx_install_packages() {
  local optional=0
  if [ "${1:-}" = --optional ]; then
    optional=1
    shift
  fi
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -eq 0 ]; then
    echo "Installing: ${missing[*]}" >&2
    apt-get update -q >&2
    DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
  else
    echo "Missing packages (run as root to install): ${missing[*]}" >&2
    [ $optional -eq 1 ] || exit 1
  fi
}
