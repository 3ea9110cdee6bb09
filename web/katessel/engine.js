// One instance of the WebAssembly module: a tracker with its memory, which goes when nothing refers to the object any more.
// Knows neither files nor the network, so that an AudioWorklet can hold one.

// Larger samples would spoil everything for 0.1 s around them, as would what is not a number.
const LARGEST_SAMPLE = 1e6;

const NOT_SUPPORTED = 52; // of WASI: what the C++ library could ask of a host, and does not

const ROW_BYTES = 24; // double time, float frequency, float confidence, and what is not used here
const NOTE_BYTES = 24; // double start, double end, int number

function checkSamples(samples) {
    for (let i = 0; i < samples.length; ++i)
        if (!(Math.abs(samples[i]) <= LARGEST_SAMPLE))
            throw new RangeError(`bad sample: expected a number within +-1e6, found ${samples[i]} at place ${i}`);
}

export class Engine {
    #exports;
    #recording; // that is being analysed, and who wants to know how far that is
    #progress;

    // While the page goes on.
    static async start(module) {
        const engine = new Engine();
        return engine.#begin(await WebAssembly.instantiate(module, engine.#imports()));
    }

    // At once, for threads that cannot wait.
    static startNow(module) {
        const engine = new Engine();
        return engine.#begin(new WebAssembly.Instance(module, engine.#imports()));
    }

    #begin(instance) {
        this.#exports = instance.exports;
        this.#exports._initialize();
        return this;
    }

    #imports() {
        const refuse = () => NOT_SUPPORTED;
        return {
            env: {
                emscripten_notify_memory_growth() {},
                getentropy: () => 0, // for a generator of the toolkit that no pitch depends on
            },
            wasi_snapshot_preview1: {
                clock_time_get: refuse,
                environ_get: refuse,
                environ_sizes_get: refuse,
                fd_close: refuse,
                fd_read: refuse,
                fd_seek: refuse,
                fd_write: refuse,
                proc_exit() {
                    throw new Error('the engine ended: expected memory enough, found none');
                },
            },
            host: {
                copySamples: (to, from, count) => {
                    this.#floats(to, count).set(this.#recording.subarray(from, from + count));
                    this.#progress?.(Math.min(1, (from + count) / this.#recording.length));
                },
            },
        };
    }

    // Memory moves when it grows, so every view is made anew.
    #floats(at, count) {
        return new Float32Array(this.#exports.memory.buffer, at, count);
    }

    #view(at, bytes) {
        return new DataView(this.#exports.memory.buffer, at, bytes);
    }

    #bytes() {
        return new Uint8Array(this.#exports.memory.buffer, this.#exports.bytes(), this.#exports.byteCount()).slice();
    }

    // ASCII; worklets have no TextDecoder.
    #text() {
        return String.fromCharCode(...this.#bytes());
    }

    open(live, rate, { weights, threshold }) {
        if (!Number.isInteger(rate)) throw new RangeError(`bad rate: expected a whole number of Hz, found ${rate}`);
        const at = this.#exports.room(Math.ceil(weights.length / 4));
        new Uint8Array(this.#exports.memory.buffer, at, weights.length).set(weights);
        if (!this.#exports.open(live, rate, weights.length, threshold)) throw new RangeError(this.#text());
        this.rate = rate;
    }

    // "simd128" or "scalar"
    get instructions() {
        this.#exports.instructions();
        return this.#text();
    }

    get latency() {
        return this.#exports.latency();
    }

    process(samples) {
        checkSamples(samples);
        this.#floats(this.#exports.room(samples.length), samples.length).set(samples);
        return this.#rows(this.#exports.process(samples.length));
    }

    finish() {
        return this.#rows(this.#exports.finish());
    }

    analyse(samples, progress) {
        checkSamples(samples);
        this.#recording = samples;
        this.#progress = progress;
        const track = this.#rows(this.#exports.analyse(samples.length));
        this.#recording = this.#progress = undefined;
        return { ...track, end: samples.length / this.rate };
    }

    #rows(count) {
        const view = this.#view(this.#exports.rows(), count * ROW_BYTES);
        const track = {
            time: new Float64Array(count),
            frequency: new Float32Array(count),
            confidence: new Float32Array(count),
            voiced: new Uint8Array(count),
        };
        for (let i = 0; i < count; ++i) {
            track.time[i] = view.getFloat64(i * ROW_BYTES, true);
            track.frequency[i] = view.getFloat32(i * ROW_BYTES + 8, true);
            track.confidence[i] = view.getFloat32(i * ROW_BYTES + 12, true);
            track.voiced[i] = track.frequency[i] > 0;
        }
        return track;
    }

    #pass(track) {
        const count = track.time.length;
        const view = this.#view(this.#exports.rowRoom(count), count * ROW_BYTES);
        for (let i = 0; i < count; ++i) {
            view.setFloat64(i * ROW_BYTES, track.time[i], true);
            view.setFloat32(i * ROW_BYTES + 8, track.voiced[i] ? track.frequency[i] : 0, true);
            view.setFloat32(i * ROW_BYTES + 12, track.confidence[i], true);
        }
    }

    notes(track) {
        this.#pass(track);
        const count = this.#exports.notes(track.end);
        const view = this.#view(this.#exports.found(), count * NOTE_BYTES);
        return Array.from({ length: count }, (_, i) => ({
            start: view.getFloat64(i * NOTE_BYTES, true),
            end: view.getFloat64(i * NOTE_BYTES + 8, true),
            number: view.getInt32(i * NOTE_BYTES + 16, true),
        }));
    }

    midi(track) {
        this.#pass(track);
        this.#exports.midi(track.end);
        return this.#bytes();
    }

    // Pixels for an ImageData, `columns` x `height`.
    spectrogram(samples, rate, { start, duration, bottom, top, columns, height, quietest, loudest }) {
        this.#floats(this.#exports.room(samples.length), samples.length).set(samples);
        this.#exports.spectrogram(samples.length, rate, start, duration, bottom, top, columns, height, quietest, loudest);
        const view = this.#view(this.#exports.image(), columns * height * 4);
        const pixels = new Uint8ClampedArray(columns * height * 4);
        const out = new DataView(pixels.buffer);
        // 0x00RRGGBB becomes the bytes R, G, B, 255.
        for (let i = 0; i < pixels.length; i += 4) out.setUint32(i, ((view.getUint32(i, true) << 8) | 255) >>> 0);
        return pixels;
    }
}
