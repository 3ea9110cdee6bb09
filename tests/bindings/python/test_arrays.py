"""What the package takes and what it says about everything else."""
import json
import os
import shutil
import tempfile
import unittest

import katessel
import numpy as np
from katessel import core

RATE = 44100


def tone(rate=RATE, seconds=0.5, frequency=200.0):
    t = np.arange(round(rate * seconds)) / rate
    return sum(0.1 / h * np.sin(2 * np.pi * frequency * h * t) for h in range(1, 10))


class Arrays(unittest.TestCase):
    def assert_same(self, x, expected, tolerance=1e-3):
        for mode in ("offline", "live"):
            found = katessel.track(x, RATE, mode=mode, threshold=0)
            wanted = katessel.track(expected, RATE, mode=mode, threshold=0)
            np.testing.assert_array_equal(found.time, wanted.time)
            np.testing.assert_allclose(found.frequency, wanted.frequency, rtol=tolerance)
            np.testing.assert_allclose(found.confidence, wanted.confidence, atol=tolerance)

    def test_results(self):
        track = katessel.track(tone(), RATE)
        self.assertEqual([a.dtype for a in track], [np.float64, np.float32, np.float32])
        np.testing.assert_allclose(track.time, np.arange(100) / 200, rtol=0, atol=1e-12)
        self.assertLess(abs(np.median(track.frequency) - 200), 4)
        time, frequency, confidence = katessel.track(np.zeros(0), RATE)
        self.assertEqual((len(time), len(frequency), len(confidence)), (0, 0, 0))

    def test_every_kind_of_number(self):
        x = np.round(tone() * 32767) / 32768
        expected = x.astype(np.float32)
        for kind in (np.float64, np.longdouble):
            self.assert_same(x.astype(kind), expected)
        self.assert_same((x * 32768).astype(np.int16), expected)
        self.assert_same((x * 2.0**31).astype(np.int32), expected)
        self.assert_same((x * 32768).astype(">i2"), expected)
        self.assert_same((x * 32768 + 32768).astype(np.uint16), expected)
        self.assert_same((x * 2.0**31 + 2.0**31).astype("<u4"), expected)
        self.assert_same(list(map(float, x)), expected)

    def test_every_layout(self):
        x = tone().astype(np.float32)
        for wide in (np.zeros((len(x), 3), np.float32), np.zeros((len(x), 3), np.float32, order="F")):
            wide[:, 0], wide[:, 1], wide[:, 2] = 1.5 * x, x, 0.5 * x
            self.assert_same(wide, x)
            self.assert_same(wide[:, 1], x)
        self.assert_same(np.repeat(x, 2)[::2], x)
        self.assert_same(x[::-1].copy()[::-1], x)
        self.assert_same(x.astype(">f4"), x)
        # Channels of integers are averaged without overflow.
        loud = np.full((len(x), 2), 30000, np.int16)
        self.assert_same(loud, np.full(len(x), 30000 / 32768, np.float32))

    def test_what_is_refused(self):
        x = tone()
        spoilt = x.copy()
        spoilt[77] = np.nan
        stream = katessel.Stream(RATE)
        for error, text, action in [
            (TypeError, "found int64", lambda: katessel.track(np.zeros(10, int), RATE)),
            (TypeError, "found complex128", lambda: katessel.track(x + 1j, RATE)),
            (TypeError, "found <U2", lambda: stream.process("ab")),
            (ValueError, "found (2, 5, 2)", lambda: katessel.track(np.zeros((2, 5, 2)), RATE)),
            (ValueError, "found ()", lambda: katessel.track(0.5, RATE)),
            (ValueError, "transpose", lambda: katessel.track(np.zeros((2, 5000)), RATE)),
            (ValueError, "transpose", lambda: stream.process(np.zeros((2, 8)))),
            (ValueError, "found (5000, 9)", lambda: katessel.track(np.zeros((5000, 9)), RATE)),
            (TypeError, "found a masked one", lambda: katessel.track(np.ma.masked_greater(x, 0.1), RATE)),
            (ValueError, "found nan at place 77", lambda: katessel.track(spoilt, RATE)),
            (ValueError, "found inf at place", lambda: stream.process(x * 1e300)),
            (ValueError, "expected 1000 to 240000 Hz, found 44", lambda: katessel.track(x, 44)),
            (ValueError, "found 100000000000000000000", lambda: katessel.track(x, 10**20)),
            (TypeError, "found 44.1", lambda: katessel.track(x, 44.1)),
            (TypeError, "found None", lambda: katessel.track(x, None)),
            (ValueError, "found 'both'", lambda: katessel.track(x, RATE, mode="both")),
            (ValueError, "found -1", lambda: katessel.track(x, RATE, threshold=-1)),
            (ValueError, "found nan", lambda: katessel.track(x, RATE, threshold=float("nan"))),
            (katessel.ModelError, "none.weights: expected", lambda: katessel.track(x, RATE, model="none.weights")),
            (katessel.ModelError, "\udcff: expected", lambda: katessel.track(x, RATE, model=b"\xff")),
            (ValueError, "found one in 'a\\x00b'", lambda: katessel.track(x, RATE, model="a\0b")),
            (TypeError, "Engine.__new__", lambda: core.Engine.__new__(core.Engine).finish()),
            (TypeError, "expected one from open_engine", core.Engine),
        ]:
            with self.subTest(text), self.assertRaises(error) as caught:
                action()
            self.assertIn(text, str(caught.exception))
        self.assertEqual(len(katessel.track(x, np.float64(RATE)).time), 100)


class Models(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.model = os.path.join(folder.name, "own.weights")
        self.card = os.path.join(folder.name, "own.json")
        shutil.copy(katessel.default_model(), self.model)

    def voiced(self, **options):
        return np.count_nonzero(katessel.track(tone(), RATE, model=self.model, **options).frequency)

    def test_the_card_has_the_threshold(self):
        with open(os.path.splitext(katessel.default_model())[0] + ".json") as file:
            self.assertEqual(katessel.Stream(RATE).threshold, json.load(file)["default_threshold"])
        self.assertEqual(katessel.Stream(RATE, model=self.model).threshold, 0.5)
        self.assertGreater(self.voiced(), 90)
        self.write_card('{"default_threshold": 2}')
        self.assertEqual(self.voiced(), 0)
        self.assertGreater(self.voiced(threshold=0.5), 90)
        for broken in ("{", "[]", '{"default_threshold": "high"}', '{"default_threshold": -1}'):
            self.write_card(broken)
            with self.assertRaisesRegex(katessel.ModelError, "bad model card: .*own.json"):
                self.voiced()

    def write_card(self, text):
        with open(self.card, "w") as file:
            file.write(text)

    def test_the_default_model_can_be_another(self):
        self.addCleanup(os.environ.pop, "KATESSEL_MODEL")
        os.environ["KATESSEL_MODEL"] = self.model
        self.assertEqual(katessel.default_model(), self.model)
        self.assertEqual(katessel.Stream(RATE).threshold, 0.5)


if __name__ == "__main__":
    unittest.main()
