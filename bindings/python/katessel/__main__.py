"""python -m katessel FILE..: the pitch of recordings, as `katessel track` writes it."""
import argparse
import sys

from . import ModelError, __version__, track


def main() -> int:
    parser = argparse.ArgumentParser(prog="python -m katessel", description="Writes the pitch of a recording every 5 ms.")
    parser.add_argument("file", help="recording, in any format that libsndfile reads")
    parser.add_argument("-o", "--output", help="file for the track; its extension says the format (default: CSV to standard output)")
    parser.add_argument("--mode", choices=("offline", "live"), default="offline")
    parser.add_argument("--model", help="weight file (default: the one that comes with the package)")
    parser.add_argument("--threshold", type=float, help="confidence from which on a row counts as voiced")
    parser.add_argument("--voicing", choices=("smooth", "hysteresis", "frame"), help="how that is decided")
    parser.add_argument("--fmin", type=float, help="rows with a lower pitch count as not voiced [Hz]")
    parser.add_argument("--fmax", type=float, help="rows with a higher pitch count as not voiced [Hz]")
    parser.add_argument("--version", action="version", version=f"katessel {__version__}")
    options = vars(parser.parse_args())
    file, output = options.pop("file"), options.pop("output")
    try:
        result = track(file, **options)
        if output is None:
            sys.stdout.write(result.to_csv())
        else:
            result.save(output)
    except (OSError, TypeError, ValueError, ImportError, ModelError) as error:
        print(f"katessel: {error}", file=sys.stderr)
        return 2 if isinstance(error, ValueError) else 1
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    sys.exit(main())
