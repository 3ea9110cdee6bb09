"""run_notebook.py NOTEBOOK [--write]: every cell runs, in the notebook's folder, and prints what is stored in the notebook; --write
stores it anew. Cells tagged with a package run where that is installed."""
import contextlib
import importlib.util
import io
import json
import os
import pathlib
import sys

path = pathlib.Path(sys.argv[1]).resolve()
notebook = json.loads(path.read_text())
os.chdir(path.parent)
sys.path.insert(0, str(path.parent))
names, bad, count = {}, [], 0
for cell in notebook["cells"]:
    if cell["cell_type"] != "code" or not all(importlib.util.find_spec(tag) for tag in cell["metadata"].get("tags", [])):
        continue
    count += 1
    with contextlib.redirect_stdout(io.StringIO()) as printed:
        exec("".join(cell["source"]), names)  # what a notebook is for
    stored = "".join(line for output in cell["outputs"] for line in output.get("text", []))
    if printed.getvalue() != stored:
        bad.append(f"{''.join(cell['source'])}\nprinted:\n{printed.getvalue()}stored:\n{stored}")
    lines = printed.getvalue().splitlines(keepends=True)
    cell["outputs"] = [{"name": "stdout", "output_type": "stream", "text": lines}] if lines else []
if "--write" in sys.argv:
    path.write_text(json.dumps(notebook, indent=1, ensure_ascii=False) + "\n")
    bad.clear()
print(f"{count} cells", *bad, sep="\n")
sys.exit(1 if bad or count < 4 else 0)
