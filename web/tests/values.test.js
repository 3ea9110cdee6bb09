// What both modules compute in Node, against the native tool; and what they refuse.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { cents, katessel, names, notesOn, rate, samplesOf, tone, toolTrack } from './recordings.js';

const { csv, instructions, joined, midi, noteOf, notes, track, Tracker } = katessel;
const modules = [{ simd: true }, { simd: false }];

// Vectors of another length add in another order; nobody hears a quarter of a cent.
const MOST_CENTS = 0.25;
const MOST_CONFIDENCE = 0.005;

function assertSame(found, expected) {
    assert.equal(found.time.length, expected.time.length);
    for (let i = 0; i < found.time.length; ++i) {
        const at = `${found.time[i]} s: ${found.frequency[i]} and ${expected.frequency[i]} Hz`;
        assert.ok(Math.abs(found.time[i] - expected.time[i]) < 1e-9, at);
        assert.equal(found.voiced[i] === 1, expected.frequency[i] > 0, at);
        assert.equal(found.voiced[i] === 1, found.frequency[i] > 0, at);
        assert.ok(Math.abs(found.confidence[i] - expected.confidence[i]) < MOST_CONFIDENCE, at);
        if (found.voiced[i]) assert.ok(cents(found.frequency[i], expected.frequency[i]) < MOST_CENTS, at);
    }
}

for (const name of names) {
    test(`${name}: rows, notes and files are the tool's`, async () => {
        const samples = samplesOf(name);
        for (const mode of ['offline', 'live']) {
            const expected = JSON.parse(toolTrack(name, 'json', mode)).track;
            for (const module of modules) {
                const found = await track(samples, rate, { mode, ...module });
                assertSame(found, expected);
                // Where two ways through the notes cost the same, the last digit decides when one begins.
                const melody = (await notes(found)).map((note) => note.number);
                const file = Buffer.from(await midi(found));
                assert.deepEqual(melody, notesOn(toolTrack(name, 'midi', mode)));
                assert.deepEqual(melody, notesOn(file));
                assert.deepEqual(file.subarray(0, 18), toolTrack(name, 'midi', mode).subarray(0, 18));
                const lines = csv(found).split('\n');
                assert.deepEqual(lines[0], toolTrack(name, 'csv', mode).toString().split('\n')[0]);
                assert.match(lines[1], /^0\.000,\d+\.\d{3},\d\.\d{6}$/);
                assert.equal(lines.length, found.time.length + 2);
            }
        }
    });
}

test('a stream in any blocks gives the rows of the whole sound, again after its end', async () => {
    const samples = samplesOf(names[0]);
    for (const module of modules) {
        const { end, ...expected } = await track(samples, rate, { mode: 'live', ...module });
        const tracker = await Tracker.open(rate, module);
        for (const size of [1, 127, 4096]) {
            const parts = [];
            for (let at = 0; at < samples.length; at += size) parts.push(tracker.process(samples.subarray(at, at + size)));
            parts.push(tracker.finish());
            assert.deepEqual({ ...joined(parts), end: 0 }, { ...expected, end: 0 });
        }
        assert.equal(tracker.latency, (await Tracker.open(rate)).latency);
    }
    assert.equal((await Tracker.open(48000)).latency, 1992);
});

test('a recording of more than one part has no seam', async () => {
    const tones = [200, 250, 200]; // [Hz] of 70 s each; parts are 120 s
    const sound = new Float32Array(tones.length * 70 * 8000);
    tones.forEach((hertz, i) => sound.set(tone(8000, 70, hertz), i * 70 * 8000));
    const done = [];
    const found = await track(sound, 8000, { progress: (part) => done.push(part) });
    const { time, frequency, end } = found;
    assert.equal(end, 210);
    assert.equal(time.length, 210 * 200);
    assert.equal(done.at(-1), 1);
    for (let i = 0; i < time.length; ++i) {
        const edge = i % (70 * 200) < 20 || i % (70 * 200) > 70 * 200 - 20;
        const right = cents(frequency[i], tones[Math.floor(i / (70 * 200))]) < 25;
        assert.ok(edge || right, `${time[i]} s: ${frequency[i]} Hz`);
    }
    assert.deepEqual((await notes(found)).map((note) => note.name), ['G3', 'B3', 'G3']);
});

test('what is wrong is said in one line', async () => {
    const refused = (work, text) => assert.rejects(work, (error) => error.message === text);
    const weights = new Uint8Array(100);
    await refused(() => track([0], 999), 'bad rate: expected 1000 to 240000 Hz, found 999');
    await refused(() => track([0], 44100.5), 'bad rate: expected a whole number of Hz, found 44100.5');
    await refused(() => track([0, NaN], 8000), 'bad sample: expected a number within +-1e6, found NaN at place 1');
    await refused(() => track([0], 8000, { mode: 'fast' }), "bad mode: expected 'offline' or 'live', found 'fast'");
    await refused(() => track([0], 8000, { threshold: -1 }), 'bad threshold: expected a number from 0 up, found -1');
    await assert.rejects(track([0], 8000, { model: { weights } }), /^RangeError: bad model: weights: .*expected .*, found /);
    const tracker = await Tracker.open(8000);
    assert.throws(() => tracker.process([-2e6]), /found -2000000 at place 0/);
    assert.equal(tracker.process(new Float32Array(8000)).time.length, 192);
    assert.equal((await track([], 8000)).time.length, 0);
});

test('the module with vectors is chosen, notes have names', async () => {
    for (const [simd, name] of [[undefined, 'simd128'], [true, 'simd128'], [false, 'scalar']])
        assert.equal(await instructions(simd), name);
    assert.deepEqual(noteOf(440), { number: 69, name: 'A4', cents: 0 });
    assert.equal(noteOf(8.1758).name, 'C-1');
    assert.ok(Math.abs(noteOf(450).cents - 38.9) < 0.1);
});
