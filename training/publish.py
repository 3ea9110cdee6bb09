#!/usr/bin/env python3
"""Makes a weight file the default model: copies it to models/ and updates the facts on its card."""

import argparse
import hashlib
import json
import pathlib
import shutil
import sys

MODELS = pathlib.Path(__file__).resolve().parent.parent / "models"


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("weights", type=pathlib.Path)
    parser.add_argument("--threshold", type=float, required=True, help="confidence from which a frame counts as voiced")
    arguments = parser.parse_args()
    if not arguments.weights.is_file():
        print(f"publish: cannot read the weights: {arguments.weights}: expected a weight file, found none", file=sys.stderr)
        return 1
    if not 0.0 < arguments.threshold < 1.0:
        print(f"publish: wrong threshold: expected a number between 0 and 1, found {arguments.threshold}", file=sys.stderr)
        return 2
    card_path = MODELS / "default.json"
    card = json.loads(card_path.read_text())
    content = arguments.weights.read_bytes()
    card["sha256"] = hashlib.sha256(content).hexdigest()
    card["bytes"] = len(content)
    card["default_threshold"] = arguments.threshold
    shutil.copyfile(arguments.weights, MODELS / "default.weights")
    card_path.write_text(json.dumps(card, indent=2, ensure_ascii=False) + "\n")
    print(f"models/default.weights: {card['sha256']}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
