#!/usr/bin/python3
"""Makes a weight file one of the models: copies it to models/NAME.weights and writes its card, models/NAME.json.

    publish.py WEIGHTS NAME --threshold 0.6 --training "how it was trained" [--weak "where it errs"]...

NAME is default (both forms), live or offline. What the cards have in common, above all whose recordings were trained on, stands in
card.json beside this program.
"""

import argparse
import hashlib
import json
import pathlib
import shutil
import sys

import blend

HERE = pathlib.Path(__file__).resolve().parent
MODELS = HERE.parent / "models"
FORMS = {"default": "streaming and offline", "live": "streaming", "offline": "offline"}


def card(name, content, threshold, training, weak):
    """Facts of a weight file, the common ones last."""
    common = json.loads((HERE / "card.json").read_text())
    return {
        "name": name,
        "file": f"{name}.weights",
        "forms": FORMS[name],
        "sha256": hashlib.sha256(content).hexdigest(),
        "bytes": len(content),
        "parameters": sum(size for _, size in blend.tensors(content)) // 4,
        "default_threshold": threshold,
        "training": training,
        "known_weak": weak,
        **common,
    }


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("weights", type=pathlib.Path)
    parser.add_argument("name", choices=FORMS)
    parser.add_argument("--threshold", type=float, required=True, help="confidence from which a frame counts as voiced")
    parser.add_argument("--training", required=True, help="in a line, how the weights were made")
    parser.add_argument("--weak", action="append", default=[], help="what they do badly; may be given several times")
    chosen = parser.parse_args()
    if not chosen.weights.is_file():
        print(f"publish: cannot read the weights: {chosen.weights}: expected a weight file, found none", file=sys.stderr)
        return 1
    if not 0.0 < chosen.threshold < 1.0:
        print(f"publish: wrong threshold: expected a number between 0 and 1, found {chosen.threshold}", file=sys.stderr)
        return 2
    facts = card(chosen.name, chosen.weights.read_bytes(), chosen.threshold, chosen.training, chosen.weak)
    shutil.copyfile(chosen.weights, MODELS / facts["file"])
    (MODELS / f"{chosen.name}.json").write_text(json.dumps(facts, indent=2, ensure_ascii=False) + "\n")
    print(f"models/{facts['file']}: {facts['sha256']}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
