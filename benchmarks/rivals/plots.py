"""Pictures with gnuplot. Part of the programs beside it."""
import subprocess

HEAD = """set terminal pngcairo size {width},{height} font "sans,11"
set output "{png}"
set datafile separator ","
set grid
"""


def plot(png, commands, width=900, height=520):
    """Runs gnuplot; the commands read CSV files."""
    subprocess.run(["gnuplot"], check=True, text=True, input=HEAD.format(png=png, width=width, height=height) + commands)


def curves(table, names, column=2, using="1:{column}"):
    """A line for each tracker, a column of the table each, ours thicker."""
    return ", ".join(f'"{table}" every ::1 using {using.format(column=column + i)} with linespoints linewidth '
                     f'{3 if ours else 1} title "{name}"' for i, (name, ours) in enumerate(names))
