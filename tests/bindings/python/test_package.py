"""Files in and out, what results offer, and the examples in the docstrings. TOOL, SOURCE in the environment: the tool and the
source tree."""
import copy
import doctest
import importlib.util
import io
import os
import re
import pickle
import subprocess
import sys
import tempfile
import unittest
from contextlib import redirect_stderr
from unittest import mock

import katessel
import numpy as np

SOURCE, TOOL = os.environ["SOURCE"], os.environ.get("TOOL")
SINGING = os.path.join(SOURCE, "examples", "audio", "singing_martin.ogg")
SPEECH = os.path.join(SOURCE, "examples", "audio", "speech_nathalie.ogg")


def run(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)


class Files(Folder):
    @unittest.skipUnless(TOOL, "the tool is not built")
    def test_files_are_those_of_the_tool(self):
        for options in ({}, {"mode": "live", "fmin": 120, "fmax": 200}, {"voicing": "frame", "threshold": 0.7}):
            track = katessel.track(SPEECH, **options)
            arguments = [text for name, value in options.items() for text in ("--" + name, str(value))]
            for ending in ("csv", "tsv", "mid", "TextGrid", "Pitch", "PitchTier", "lab", "f0", "npy"):
                track.save(self.path("track." + ending))
                with open(self.path("track." + ending), "rb") as file:
                    wanted = run(TOOL, "track", SPEECH, "--format", ending, *arguments)
                    # A track without its sound knows no loudness: how fast the keys are struck is left out.
                    same = lambda data: re.sub(rb"\x90(.)[\x01-\x7f]", b"\x90\\1\x60", data, flags=re.DOTALL) if ending == "mid" else data
                    self.assertEqual(same(file.read()), same(wanted.stdout), (ending, options))
        self.assertEqual(track.to_csv(unit="midi", unvoiced="drop").encode(),
                         run(TOOL, "track", SPEECH, *arguments, "--unit", "midi", "--unvoiced", "drop").stdout)
        self.assertEqual(run(sys.executable, "-m", "katessel", SPEECH, *arguments).stdout, run(TOOL, "track", SPEECH, *arguments).stdout)

    def test_what_is_refused(self):
        with open(SPEECH, "rb") as file:
            half = file.read(20000)
        with open(self.path("half.ogg"), "wb") as file:
            file.write(half)
        for error, text, action in [
            (FileNotFoundError, "none.wav", lambda: katessel.track(self.path("none.wav"))),
            (ValueError, "bad path: expected no NUL", lambda: katessel.track("a\0.wav")),
            (TypeError, "expected none beside a file", lambda: katessel.track(SPEECH, 44100)),
            (OSError, "expected a known audio format", lambda: katessel.track(os.path.join(SOURCE, "README.md"))),
            (OSError, "damaged recording", lambda: katessel.track(self.path("half.ogg"))),
            (OSError, "channel", lambda: katessel.track(SPEECH, channel=7)),
            (ValueError, "unknown kind of track", lambda: katessel.track(np.zeros(100), 8000).save(self.path("x.xyz"))),
            (OSError, "cannot write", lambda: katessel.track(np.zeros(100), 8000).to_midi(self.path("none/x.mid"))),
            (ValueError, "found 'mp4'", lambda: katessel.track(np.zeros(100), 8000).to_bytes("mp4")),
            (ValueError, "bad range", lambda: katessel.track(np.zeros(100), 8000, fmin=200, fmax=100)),
            (ValueError, "bad unvoiced", lambda: katessel.track(np.zeros(100), 8000, unvoiced="none")),
            (TypeError, "bad threshold", lambda: katessel.track(np.zeros(100), 8000, threshold="a")),
        ]:
            with self.subTest(text), self.assertRaises(error) as caught:
                action()
            self.assertIn(text, str(caught.exception))
        self.assertGreater(len(katessel.track(self.path("half.ogg"), allow_damaged=True).time), 100)
        for status, arguments in ((1, [self.path("none.wav")]), (2, [SPEECH, "--fmin", "300", "--fmax", "200"])):
            done = run(sys.executable, "-m", "katessel", *arguments)
            self.assertEqual((done.returncode, done.stdout, done.stderr.count(b"\n")), (status, b"", 1))

    def test_many_files_in_their_order(self):
        paths = [SPEECH, SINGING] * 3
        with redirect_stderr(io.StringIO()) as progress, mock.patch.dict(sys.modules, {"tqdm": None}):
            found = list(katessel.track_files(paths, jobs=3, progress=True, mode="live"))
        self.assertIn("6 of 6 recordings", progress.getvalue())
        self.assertEqual([path for path, _ in found], paths)
        for path, track in found:
            np.testing.assert_array_equal(track.frequency, katessel.track(path, mode="live").frequency)
        some = katessel.track_files([SPEECH, self.path("none.wav"), SPEECH], jobs=1)
        self.assertEqual(next(some)[0], SPEECH)
        with self.assertRaises(FileNotFoundError):
            next(some)


class Results(Folder):
    def test_unvoiced_rows_and_range(self):
        zero, nan, keep = [katessel.track(SINGING, unvoiced=unvoiced, fmax=150) for unvoiced in ("zero", "nan", "keep")]
        voiced = zero.voiced
        self.assertTrue(0 < np.count_nonzero(voiced) < len(voiced))
        self.assertLessEqual(keep.frequency[voiced].max(), 150)
        self.assertGreater(keep.frequency[~voiced].max(), 150)
        np.testing.assert_array_equal(zero.frequency, np.where(voiced, keep.frequency, 0))
        np.testing.assert_array_equal(nan.frequency, np.where(voiced, keep.frequency, np.nan))
        live = [katessel.track(SINGING, unvoiced=unvoiced, mode="live") for unvoiced in ("zero", "keep")]
        np.testing.assert_array_equal(live[0].voiced, live[1].voiced)
        for track in (nan, keep):
            np.testing.assert_array_equal(track.voiced, voiced)
            self.assertEqual(track.to_csv(), zero.to_csv())
            self.assertEqual(track.notes(), zero.notes())
        self.assertEqual([row for row in zero.rows() if row.voiced][0].time, zero.time[voiced][0])
        for other in (pickle.loads(pickle.dumps(nan)), copy.deepcopy(nan)):
            self.assertEqual((other.end, other.recording), (nan.end, SINGING))
            np.testing.assert_array_equal(other.voiced, voiced)

    def test_notes(self):
        sys.path.insert(0, os.path.join(SOURCE, "examples"))
        from melody import melody
        track = katessel.track(melody(44100), 44100)
        self.assertEqual([note.name for note in track.notes()], ["A3", "C4", "E4", "A4"])
        first = track.notes()[0]
        self.assertEqual((first.midi, first.frequency), (57, 220.0))
        self.assertAlmostEqual(first.end, 0.4, delta=0.03)
        self.assertEqual(katessel.track(np.zeros(1001), 8000).end, 1001 / 8000)
        stream = katessel.Stream(44100)
        blocks = [stream.process(block) for block in np.array_split(melody(44100), 50)] + [stream.finish()]
        live = katessel.concatenate(blocks)
        self.assertEqual([note.midi for note in live.notes()], [note.midi for note in track.notes()])
        rows = list(stream.follow(np.array_split(melody(44100), 50)))
        np.testing.assert_array_equal([row.frequency for row in rows], live.frequency)

    def test_the_shape_of_pyin(self):
        y = np.sin(np.arange(16000) * (2 * np.pi * 196 / 16000)) + 0.5 * np.sin(np.arange(16000) * (2 * np.pi * 392 / 16000))
        y[:8000] = 0
        f0, voiced, probability = katessel.pyin(y, sr=16000, hop_length=160, fmin=60, fmax=800)
        self.assertEqual((len(f0), len(voiced), len(probability)), (101, 101, 101))
        self.assertTrue(np.isnan(f0[:48]).all() and not voiced[:48].any() and voiced[53:].all())
        np.testing.assert_allclose(f0[55:97], 196, rtol=0.02)
        whole = katessel.track(y, 16000)
        np.testing.assert_array_equal(probability[:100], whole.confidence[::2])
        nearest = [np.argmin(np.abs(whole.time - i * 123 / 16000)) for i in range(131)]
        np.testing.assert_array_equal(katessel.pyin(y, sr=16000, hop_length=123)[2], whole.confidence[nearest])
        self.assertEqual(katessel.pyin(y, sr=16000, hop_length=160, fill_na=-1)[0][0], -1)

    def test_optional_packages(self):
        track = katessel.track(SPEECH)
        for package, action in (("pandas", track.to_pandas), ("matplotlib.pyplot", track.plot)):
            with mock.patch.dict(sys.modules, {package: None}):
                with self.assertRaisesRegex(ImportError, "expected " + package.split(".")[0]):
                    action()
            if importlib.util.find_spec(package.split(".")[0]):
                made = action()
                if package == "pandas":
                    self.assertEqual(list(made.columns), ["time", "frequency", "confidence", "voiced"])
                    self.assertEqual(len(made), len(track.time))
                else:
                    made.savefig(self.path("picture.png"))
                    self.assertGreater(os.path.getsize(self.path("picture.png")), 20000)


class Package(unittest.TestCase):
    def test_version_and_names(self):
        with open(os.path.join(SOURCE, "CMakeLists.txt")) as file:
            self.assertIn(f"project(KaTessel VERSION {katessel.__version__} ", file.read())
        for name in katessel.__all__:
            self.assertTrue(hasattr(katessel, name), name)

    def test_examples_in_docstrings(self):
        attempted = 0
        for name in ("result", "tracking", "compat"):
            module = importlib.import_module("katessel." + name)
            names = {"np": np, "Track": katessel.Track}
            result = doctest.testmod(module, extraglobs=names, optionflags=doctest.NORMALIZE_WHITESPACE)
            self.assertEqual(result.failed, 0, name)
            attempted += result.attempted
        self.assertGreater(attempted, 5)


if __name__ == "__main__":
    unittest.main()
