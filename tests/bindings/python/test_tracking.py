"""The values, their instants, and several threads. TOOL, SOURCE in the environment: the tool and the source tree."""
import csv
import io
import os
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import katessel
import numpy as np

SOURCE = os.environ["SOURCE"]
sys.path.insert(0, os.path.join(SOURCE, "tests", "tool"))
import sound  # noqa: E402
import timing_model  # noqa: E402
import track_report  # noqa: E402
from model_file import write  # noqa: E402


def samples_of(rate, seconds, kind, *arguments):
    return np.array(sound.make(rate, seconds, kind, arguments), np.float32)


def in_blocks(stream, x, size):
    parts = [stream.process(x[at : at + size]) for at in range(0, len(x), size)] + [stream.finish()]
    return katessel.Track(*(np.concatenate(arrays) for arrays in zip(*parts)))


class Values(unittest.TestCase):
    @unittest.skipUnless(os.environ.get("TOOL"), "the tool is not built")
    def test_the_tool_says_the_same(self):
        for rate in (8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000, 96000):
            x = samples_of(rate, 1.0, "glide", 120, 480)
            with tempfile.TemporaryDirectory() as folder:
                file = os.path.join(folder, "x.wav")
                sound.write_wav(file, rate, x)
                for mode in ("offline", "live"):
                    done = subprocess.run([os.environ["TOOL"], "track", "--mode", mode, file], check=True, stdout=subprocess.PIPE)
                    rows = np.array([[float(v) for v in row] for row in
                                     list(csv.reader(io.StringIO(done.stdout.decode())))[1:]])
                    # To the digits that the tool writes.
                    track = katessel.track(x, rate, mode=mode)
                    for found, wanted, digit in zip(track, rows.T, (1e-9, 1e-3, 1e-3)):
                        np.testing.assert_allclose(found, wanted, rtol=0, atol=0.51 * digit + 1e-9, err_msg=f"{rate} Hz, {mode}")

    def test_clicks_are_where_the_track_says(self):
        with tempfile.TemporaryDirectory() as folder:
            model = os.path.join(folder, "timing.weights")
            write(model, list(timing_model.layers()))
            for rate in (8000, 11025, 16000, 22050, 24000, 44100, 48000, 57600, 96000, 192000):
                x = samples_of(rate, 0.6, "clicks")
                for mode in ("offline", "live"):
                    track = katessel.track(x, rate, mode=mode, model=model, threshold=0)
                    self.assertEqual(len(track.time), 120)
                    late = track_report.clicks([tuple(map(float, row)) for row in zip(*track)], rate)
                    self.assertLess(abs(late), 0.1, f"{rate} Hz, {mode} [ms]")

    def test_a_stream_is_the_live_track(self):
        x = samples_of(44100, 0.7, "glide", 150, 400)
        expected = katessel.track(x, 44100, mode="live")
        stream = katessel.Stream(44100)
        for size in (1, 147, 4096):
            for found, wanted in zip(in_blocks(stream, x, size), expected):
                np.testing.assert_array_equal(found, wanted)
        self.assertEqual(len(stream.process(x[: stream.latency - 1]).time), 0)
        self.assertEqual(list(stream.process(x[stream.latency - 1 : stream.latency]).time), [0.0])
        stream.reset()
        two = np.stack([x, x], axis=1)
        np.testing.assert_array_equal(in_blocks(stream, two, 512).frequency, expected.frequency)

    def test_voicing_is_switched(self):
        # A tone that drowns in noise: its confidence lies within a decision's margin for a while.
        rate = 48000
        noise = np.random.default_rng(1).normal(size=33600) * np.linspace(0, 1, 33600)
        x = (0.3 * samples_of(rate, 0.7, "tone", 200) + 0.5 * noise).astype(np.float32)
        tracks = {voicing: katessel.track(x, rate, mode="live", voicing=voicing) for voicing in ("frame", "hysteresis", "smooth")}
        voiced = {voicing: track.frequency > 0 for voicing, track in tracks.items()}
        np.testing.assert_array_equal(voiced["frame"], tracks["frame"].confidence >= katessel.Stream(rate).threshold)
        self.assertTrue((voiced["frame"] != voiced["hysteresis"]).any())
        np.testing.assert_array_equal(katessel.track(x, rate, mode="live").frequency, tracks["hysteresis"].frequency)
        np.testing.assert_array_equal(katessel.track(x, rate).frequency, katessel.track(x, rate, voicing="smooth").frequency)
        stream = katessel.Stream(rate, voicing="smooth")
        self.assertEqual(stream.latency, katessel.Stream(rate).latency + 240)
        self.assertEqual(len(stream.process(x[: stream.latency - 1]).time), 0)
        first = stream.process(x[stream.latency - 1 : stream.latency])
        rest = in_blocks(stream, x[stream.latency :], 512)
        for a, b, wanted in zip(first, rest, tracks["smooth"]):
            np.testing.assert_array_equal(np.concatenate([a, b]), wanted)
        with self.assertRaisesRegex(ValueError, "bad voicing: expected 'frame', 'hysteresis' or 'smooth', found 'none'"):
            katessel.Stream(rate, voicing="none")

    def test_parts_of_a_long_recording_have_no_seams(self):
        x = np.tile(samples_of(8000, 3.1, "glide", 110, 300), 15)
        whole, begin = katessel.track(x, 8000), katessel.track(x[: 8000 * 15], 8000)
        after = katessel.track(x[8000 * 15 :], 8000)
        for found, first, second in zip(whole[1:], begin[1:], after[1:]):
            np.testing.assert_array_equal(found[:2900], first[:2900])
            np.testing.assert_array_equal(found[3100:], second[100:])
        np.testing.assert_allclose(whole.time, np.arange(len(whole.time)) / 200, rtol=0, atol=1e-9)

    def test_results_outlive_their_stream(self):
        stream = katessel.Stream(24000)
        track = stream.process(np.full(24000, 0.1, np.float32))
        kept = [a.copy() for a in track]
        del stream
        katessel.track(np.zeros(24000), 24000)
        for found, wanted in zip(track, kept):
            np.testing.assert_array_equal(found, wanted)


class Interruptions(unittest.TestCase):
    """By a timer that stands for Ctrl-C, once the samples are looked through and the engine is at work."""

    DELAY = 0.4  # [s]

    def assert_ends_soon(self, call):
        def interrupt(*_):
            called.append(time.perf_counter())
            raise KeyboardInterrupt

        called = []
        before = signal.signal(signal.SIGALRM, interrupt)
        self.addCleanup(signal.signal, signal.SIGALRM, before)
        signal.setitimer(signal.ITIMER_REAL, self.DELAY)
        begin = time.perf_counter()
        with self.assertRaises(KeyboardInterrupt):
            call()
        # Promised are 0.2 s on an idle machine; a call that is not interrupted takes many seconds.
        self.assertLess(time.perf_counter() - begin, self.DELAY + 1.0)
        self.assertEqual(len(called), 1)

    def test_a_long_call_ends(self):
        x = np.zeros(24000 * 3600, np.float32)
        stream = katessel.Stream(24000)
        self.assert_ends_soon(lambda: stream.analyse(x))
        stream.process(x[:5000])
        self.assert_ends_soon(lambda: stream.process(x))
        self.assertEqual(stream.process(x[:5000]).time[0], 0.0)

    def test_a_handler_does_not_wait_for_its_own_stream(self):
        stream, found = katessel.Stream(24000), []

        def call(*_):
            try:
                stream.process(np.zeros(10))
            except RuntimeError as error:
                found.append(str(error))

        before = signal.signal(signal.SIGALRM, call)
        self.addCleanup(signal.signal, signal.SIGALRM, before)
        signal.setitimer(signal.ITIMER_REAL, self.DELAY)
        x = np.zeros(24000 * 1200, np.float32)
        self.assertEqual(len(stream.process(x).time) + len(stream.finish().time), 240000)
        self.assertEqual(len(found), 1)
        self.assertIn("found one from a signal's handler", found[0])


class Threads(unittest.TestCase):
    def test_python_goes_on_meanwhile(self):
        x = np.zeros(24000 * 240, np.float32)
        ticks, stop = [], threading.Event()

        def tick():
            while not stop.is_set():
                ticks.append(time.perf_counter())
                time.sleep(0.001)

        thread = threading.Thread(target=tick)
        thread.start()
        katessel.track(x[:2400], 24000)
        begin = time.perf_counter()
        katessel.track(x, 24000, mode="live")
        end = time.perf_counter()
        stop.set()
        thread.join()
        # Hundreds on an idle machine; with the interpreter held there is one or two.
        self.assertGreater(sum(begin < t < end for t in ticks), 10)

    def test_streams_do_not_disturb_each_other(self):
        sounds = [samples_of(48000, 1.0, "glide", low, 2 * low) for low in (100, 150, 200, 250)]
        expected = [katessel.track(x, 48000, mode="live").frequency for x in sounds]
        found = [None] * len(sounds)

        def work(i):
            for _ in range(5):
                found[i] = in_blocks(katessel.Stream(48000), sounds[i], 480).frequency

        run_all(threading.Thread(target=work, args=(i,)) for i in range(len(sounds)))
        for a, b in zip(found, expected):
            np.testing.assert_array_equal(a, b)

    def test_a_shared_stream_is_one_sound(self):
        # Whole periods in a block, but not in the pieces that blocks are processed in: the blocks may come in any order,
        # and must not come into each other.
        block = samples_of(24000, 0.5, "tone", 210)
        expected = katessel.track(np.tile(block, 80), 24000, mode="live")
        stream, tracks = katessel.Stream(24000), []

        def work():
            for _ in range(20):
                tracks.append(stream.process(block))

        run_all(threading.Thread(target=work) for _ in range(4))
        tracks.append(stream.finish())
        found = [np.concatenate(arrays) for arrays in zip(*tracks)]
        order = np.argsort(found[0], kind="stable")
        for values, wanted in zip(found, expected):
            np.testing.assert_array_equal(values[order], wanted)


def run_all(threads):
    threads = list(threads)
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()


if __name__ == "__main__":
    unittest.main()
