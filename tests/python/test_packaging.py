"""The package as users get it: the wheel in a fresh venv, offline; cmake --install; docs/python.md as written."""

from __future__ import annotations

import json
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np

BUILD = Path(os.environ.get("KX_BUILD_DIR", "build/release")).resolve()
SOURCE = Path(os.environ.get("KX_SOURCE_DIR", Path(__file__).resolve().parents[2])).resolve()

# Run with the package the test names, not the build tree's on PYTHONPATH.
CLEAN_ENV = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "PYTHONHOME")}

CHECK = """
import sys, numpy as np, kestrix
frame = np.full((48, 64, 3), 100, np.uint8)
assert kestrix.luminance(frame) == 99
with kestrix.MotionDetector([(2, 2, 60, 40)], 9) as d:
    assert [d.compare(frame) for _ in range(40)] == [0] * 40
loaded = [l.split()[-1] for l in open('/proc/self/maps') if 'libkestrix' in l]
print(kestrix.__file__)
print(sorted(set(loaded)))
"""


def run(args, **kwargs):
    return subprocess.run([str(a) for a in args], check=True, capture_output=True, text=True, **kwargs)


def test_wheel_installs_and_imports_in_a_fresh_venv_offline(tmp_path):
    # A copy of the package's folder, so that the build leaves nothing in the source tree.
    shutil.copytree(SOURCE / "python", tmp_path / "src", ignore=shutil.ignore_patterns("build", "*.egg-info"))
    env = dict(CLEAN_ENV, KESTRIX_BUILD_DIR=str(BUILD), PIP_NO_INDEX="1")
    run([sys.executable, "-m", "pip", "wheel", "--no-build-isolation", "--no-deps", "--no-index", "-w",
         tmp_path / "dist", tmp_path / "src"], env=env)
    wheels = list((tmp_path / "dist").glob("kestrix-*.whl"))
    assert len(wheels) == 1
    run([sys.executable, "-m", "venv", "--system-site-packages", tmp_path / "venv"])
    python = tmp_path / "venv" / "bin" / "python"
    run([python, "-m", "pip", "install", "--no-index", "--no-deps", wheels[0]], env=env)
    out = run([python, "-c", CHECK], env=CLEAN_ENV, cwd=tmp_path).stdout.splitlines()
    assert out[0].startswith(str(tmp_path / "venv"))
    # The libraries inside the wheel, not those of the build tree.
    assert all(path.startswith(str(tmp_path / "venv")) for path in eval(out[1])), out[1]


def test_cmake_install_lays_the_package_into_site_packages(tmp_path):
    run(["cmake", "--install", BUILD, "--prefix", tmp_path / "prefix"])
    packages = list((tmp_path / "prefix").glob("lib/python3*/*-packages/kestrix/__init__.py"))
    assert len(packages) == 1
    site = packages[0].parent.parent
    assert list(site.glob("kestrix/_kestrix*.so")) and (site / "kestrix" / "_kestrix.pyi").exists()
    out = run([sys.executable, "-c", CHECK], env=dict(CLEAN_ENV, PYTHONPATH=str(site)), cwd=tmp_path).stdout
    assert str(tmp_path / "prefix" / "lib") in out.splitlines()[1]


def scene(path: str, frames: int = 70) -> None:
    """720x576 at 25 frames a second: a bright block still in the left zone until frame 40, then
    crossing into the right zone, where it stops."""
    import cv2
    rng = np.random.default_rng(5)
    background = rng.integers(40, 90, size=(576, 720, 3), dtype=np.uint8)
    writer = cv2.VideoWriter(path, cv2.VideoWriter_fourcc(*"MJPG"), 25.0, (720, 576))
    for t in range(frames):
        x = 100 + 24 * min(max(t - 40, 0), 20)
        frame = background.copy()
        frame[300:380, x:x + 60] = (250, 240, 230)
        writer.write(frame)
    writer.release()


def test_first_script_of_the_docs_runs_as_written(tmp_path):
    text = (SOURCE / "docs" / "python.md").read_text()
    script = re.search(r"```python\n(.*?)```", text, re.S).group(1)
    (tmp_path / "first.py").write_text(script)
    scene(str(tmp_path / "scene.avi"))
    env = dict(CLEAN_ENV, PYTHONPATH=str(BUILD / "python"))
    out = run([sys.executable, "first.py", "scene.avi"], env=env, cwd=tmp_path).stdout
    records = [json.loads(line) for line in out.splitlines()]
    assert [(r["event"], r["zone"]) for r in records] == [("begin", 0), ("begin", 1), ("end", 0), ("end", 1)]
    assert records[0]["time"] == 1.64  # frame 41, the first that differs from the one before
    # The command of the docs gives the same events.
    command = re.search(r"`python3 -m kestrix\.motion VIDEO (--zones [^`]*)`", text).group(1).split()
    out = run([sys.executable, "-m", "kestrix.motion", "scene.avi", *command, "--gap-frames", "10"], env=env,
              cwd=tmp_path).stdout
    assert [(r["event"], r["zone"], r["time"]) for r in map(json.loads, out.splitlines())] == \
        [(r["event"], r["zone"], r["time"]) for r in records]
