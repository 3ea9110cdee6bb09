"""check_page.py PAGE FOLDER: every C++ and Python block of the page stands in one of the folder's programs, line by line."""
import pathlib
import re
import sys

SUFFIXES = {"cpp": "*.cpp", "python": "*.py"}


def lines(text):
    return [line.strip() for line in text.splitlines()]


page, folder = pathlib.Path(sys.argv[1]).read_text(), pathlib.Path(sys.argv[2])
blocks = re.findall(r"^```(cpp|python)\n(.*?)^```", page, re.M | re.S)
missing = []
for language, text in blocks:
    block = lines(text)
    programs = [lines(path.read_text()) for path in folder.glob(SUFFIXES[language])]
    if not any(block == program[i : i + len(block)] for program in programs for i in range(len(program))):
        missing.append(text)
print("%d blocks" % len(blocks), *missing, sep="\nin none of the programs:\n")
sys.exit(1 if missing or not blocks else 0)
