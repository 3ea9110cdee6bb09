#!/usr/bin/env bash
# check_wheel.sh PYTHON SOURCE BUILD: the source distribution holds all that the package is built from, and a wheel made from it, with
# the modules of the build, works where it is installed.
set -euo pipefail
python=$1 source=$2 build=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# setuptools writes beside pyproject.toml; the sources stay as they are.
mkdir "$scratch/source"
cp -r "$source"/{CMakeLists.txt,MANIFEST.in,README.md,pyproject.toml,setup.py,apps,bindings,cmake,include,models,recordings,src,tests} \
    "$scratch/source"
(cd "$scratch/source" && "$python" -c "from setuptools import build_meta; build_meta.build_sdist('$scratch')") >"$scratch/log" 2>&1 ||
    { cat "$scratch/log"; exit 1; }
version=$(sed -n 's/^project(KaTessel VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
tar -xzf "$scratch/katessel-$version.tar.gz" -C "$scratch"
unpacked=$scratch/katessel-$version
if [ -e "$unpacked/tests" ]; then echo "expected what is built from, found the tests"; exit 1; fi
# CMake names every source that is missing.
cmake -G Ninja -S "$unpacked" -B "$scratch/build" -DKATESSEL_PYTHON="$python" \
    -DKATESSEL_BUILD_{TOOL,TESTS,BENCHMARKS,VAMP}=OFF >"$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
grep -q 'Python package: built' "$scratch/log" || { cat "$scratch/log"; exit 1; }
ninja -C "$scratch/build" -t targets all >"$scratch/targets"
grep -q '^katessel_python_files:' "$scratch/targets"

KATESSEL_BUILD_FOLDER=$build "$python" -m pip wheel --quiet --no-build-isolation --no-deps --no-index -w "$scratch/wheels" "$unpacked"
wheel=$(echo "$scratch"/wheels/katessel-*-linux_x86_64.whl)
[[ $wheel == */katessel-$version-cp3* ]] || { echo "expected version $version, found $wheel"; exit 1; }
"$python" -m pip install --quiet --no-deps --no-index --target "$scratch/site" "$wheel"
cd "$scratch"
PYTHONPATH=$scratch/site "$python" - <<'PY'
import importlib.metadata, os, katessel, numpy as np
assert katessel.__file__.startswith(os.environ["PYTHONPATH"]), katessel.__file__
assert katessel.default_model() == os.path.join(os.path.dirname(katessel.__file__), "offline.weights")
assert os.path.exists(os.path.join(os.path.dirname(katessel.__file__), "py.typed"))
about = importlib.metadata.metadata("katessel")
assert about["Version"] == katessel.__version__ and about["Summary"] and about["Author"], about["Version"]
assert "# KaTessel" in about.get_payload()
asked = [each for each in about.get_all("Requires-Dist") if each.startswith("numpy")]
assert len(asked) == 1 and "<2" in asked[0], asked  # with the pybind11 of Debian 12
t = np.arange(24000) / 24000
x = sum(0.1 / h * np.sin(2 * np.pi * 220 * h * t) for h in range(1, 8))
frequency = np.median(katessel.track(x, 24000).frequency)
print("installed wheel hears %.1f Hz of 220" % frequency)
assert abs(frequency - 220) < 4
PY
