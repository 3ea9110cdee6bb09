#!/usr/bin/env bash
# check_wheel.sh PYTHON SOURCE BUILD: a wheel made from the build, installed into a folder of its own, works there.
set -euo pipefail
python=$1 source=$2 build=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The build writes beside pyproject.toml; the sources stay as they are.
mkdir -p "$scratch/source/bindings"
cp "$source/CMakeLists.txt" "$scratch/source"
cp -r "$source/bindings/python" "$scratch/source/bindings"
KATESSEL_BUILD_FOLDER=$build "$python" -m pip wheel --quiet --no-build-isolation --no-deps --no-index \
    -w "$scratch/wheels" "$scratch/source/bindings/python"
wheel=$(echo "$scratch"/wheels/katessel-*-linux_x86_64.whl)
version=$(sed -n 's/^project(KaTessel VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
[[ $wheel == */katessel-$version-cp3* ]] || { echo "expected version $version, found $wheel"; exit 1; }
"$python" -m pip install --quiet --no-deps --no-index --target "$scratch/site" "$wheel"
cd "$scratch"
PYTHONPATH=$scratch/site "$python" - <<'PY'
import os, katessel, numpy as np
assert katessel.__file__.startswith(os.environ["PYTHONPATH"]), katessel.__file__
assert katessel.default_model() == os.path.join(os.path.dirname(katessel.__file__), "offline.weights")
assert os.path.exists(os.path.join(os.path.dirname(katessel.__file__), "py.typed"))
t = np.arange(24000) / 24000
x = sum(0.1 / h * np.sin(2 * np.pi * 220 * h * t) for h in range(1, 8))
frequency = np.median(katessel.track(x, 24000).frequency)
print("installed wheel hears %.1f Hz of 220" % frequency)
assert abs(frequency - 220) < 4
PY
