"""check_page.py PAGE FOLDER: every C++ block of the page stands in one of the folder's programs, line by line."""
import pathlib
import re
import sys

page = pathlib.Path(sys.argv[1]).read_text()
programs = {p.name: [line.strip() for line in p.read_text().splitlines()] for p in pathlib.Path(sys.argv[2]).glob("*.cpp")}
blocks = re.findall(r"^```cpp\n(.*?)^```", page, re.M | re.S)
missing = 0
for block in blocks:
    lines = [line.strip() for line in block.splitlines()]
    found = any(lines == text[i : i + len(lines)] for text in programs.values() for i in range(len(text)))
    if not found:
        missing += 1
        print("in none of the programs:\n" + block)
if len(blocks) < 8:
    print(f"{len(blocks)} C++ blocks on the page, expected at least 8")
sys.exit(1 if missing or len(blocks) < 8 else 0)
