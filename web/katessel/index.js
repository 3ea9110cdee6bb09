// KaTessel hears the pitch of a voice or an instrument, every 5 ms.
//
//     const { time, frequency, confidence, voiced } = await track(samples, 44100);
//
//     const tracker = await Tracker.open(48000);
//     for (const block of blocks) show(tracker.process(block));
import { Engine } from './engine.js';
import { compiledModule, defaultModel } from './files.js';

export { pitchNode } from './microphone.js';

const NAMES = ['C', 'C#', 'D', 'D#', 'E', 'F', 'F#', 'G', 'G#', 'A', 'A#', 'B'];

const start = async (simd) => Engine.start(await compiledModule(simd));

async function opened(mode, rate, { model, threshold, simd }) {
    if (mode !== 'offline' && mode !== 'live')
        throw new RangeError(`bad mode: expected 'offline' or 'live', found '${mode}'`);
    const [engine, { weights, threshold: usual }] = await Promise.all([start(simd), model ?? defaultModel(mode)]);
    const level = threshold ?? usual ?? 0.5;
    if (!(level >= 0 && level < Infinity))
        throw new RangeError(`bad threshold: expected a number from 0 up, found ${level}`);
    engine.open(mode === 'live', rate, { weights, threshold: level });
    return engine;
}

const floats = (samples) => (samples instanceof Float32Array ? samples : Float32Array.from(samples));

// The pitch of a whole recording.
export async function track(samples, rate, options = {}) {
    const { mode = 'offline', progress } = options;
    const sound = floats(samples);
    const engine = await opened(mode, rate, options);
    if (mode === 'offline') return engine.analyse(sound, progress);
    return { ...joined([engine.process(sound), engine.finish()]), end: sound.length / rate };
}

// The pitch of a live sound, block by block.
export class Tracker {
    #engine;

    static async open(rate, options = {}) {
        const tracker = new Tracker();
        tracker.#engine = await opened('live', rate, options);
        return tracker;
    }

    get rate() {
        return this.#engine.rate;
    }

    get latency() {
        return this.#engine.latency;
    }

    process(samples) {
        return this.#engine.process(floats(samples));
    }

    finish() {
        return this.#engine.finish();
    }
}

// Parts of one track, such as those of a Tracker, as one.
export function joined(parts) {
    const join = (name, Kind) => {
        const all = new Kind(parts.reduce((length, part) => length + part.time.length, 0));
        let at = 0;
        for (const part of parts) {
            all.set(part[name], at);
            at += part.time.length;
        }
        return all;
    };
    const time = join('time', Float64Array);
    return {
        time,
        frequency: join('frequency', Float32Array),
        confidence: join('confidence', Float32Array),
        voiced: join('voiced', Uint8Array),
        end: time.length > 0 ? time[time.length - 1] + 0.005 : 0,
    };
}

export async function notes(track) {
    const found = (await start()).notes(track);
    return found.map((note) => ({ ...note, name: noteOf(noteFrequency(note.number)).name }));
}

export async function midi(track) {
    return (await start()).midi(track);
}

export function csv({ time, frequency, confidence }) {
    const lines = Array.from(time, (t, i) => [t.toFixed(3), frequency[i].toFixed(3), confidence[i].toFixed(6)].join());
    return ['time,frequency,confidence', ...lines, ''].join('\n');
}

// The spectrogram of a sound as pixels.
export async function spectrogram(samples, rate, options) {
    return (await start()).spectrogram(floats(samples), rate, options);
}

export const noteFrequency = (number) => 440 * 2 ** ((number - 69) / 12);

// The note nearest to a frequency, A4 at 440 Hz.
export function noteOf(frequency) {
    const exact = 69 + 12 * Math.log2(frequency / 440);
    const number = Math.round(exact);
    const name = NAMES[((number % 12) + 12) % 12] + (Math.floor(number / 12) - 1);
    return { number, name, cents: 100 * (exact - number) };
}

// What it computes with here: 'simd128' or 'scalar'.
export const instructions = async (simd) => (await start(simd)).instructions;
