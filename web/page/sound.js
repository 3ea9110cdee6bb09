// Sound as it is shown and played: mono samples that may still grow.

const DECODED_RATE = 48000; // [Hz] of every file, whatever it is recorded at

export class Sound {
    #samples;
    length = 0; // [samples]

    constructor(name, rate, samples = new Float32Array(0)) {
        this.name = name;
        this.rate = rate;
        this.#samples = samples;
        this.length = samples.length;
    }

    get seconds() {
        return this.length / this.rate;
    }

    get samples() {
        return this.#samples.subarray(0, this.length);
    }

    append(block) {
        if (this.length + block.length > this.#samples.length) {
            const larger = new Float32Array(2 * (this.length + block.length));
            larger.set(this.samples);
            this.#samples = larger;
        }
        this.#samples.set(block, this.length);
        this.length += block.length;
    }

    // The samples from `from` to `to` [s], as far as there are any, and the instant of the first [s].
    part(from, to) {
        const first = Math.max(0, Math.floor(from * this.rate));
        const end = Math.min(this.length, Math.ceil(to * this.rate));
        return { samples: this.#samples.slice(first, Math.max(first, end)), at: first / this.rate };
    }

    get largest() {
        return this.samples.reduce((most, sample) => Math.max(most, Math.abs(sample)), 0);
    }
}

// Any file that the browser can play, its channels averaged.
export async function readSound(file) {
    const decoder = new OfflineAudioContext(1, 1, DECODED_RATE);
    let decoded;
    try {
        decoded = await decoder.decodeAudioData(await file.arrayBuffer());
    } catch {
        throw new Error(`cannot read ${file.name}: expected a recording that this browser plays, found something else`);
    }
    const mono = decoded.getChannelData(0).slice();
    for (let c = 1; c < decoded.numberOfChannels; ++c) {
        const channel = decoded.getChannelData(c);
        for (let i = 0; i < mono.length; ++i) mono[i] += channel[i];
    }
    for (let i = 0; i < mono.length; ++i) mono[i] /= decoded.numberOfChannels;
    return new Sound(file.name, DECODED_RATE, mono);
}

// A WAV file of 16 bits, for the player.
export function wav({ samples, rate }) {
    const header = new DataView(new ArrayBuffer(44));
    const text = (at, letters) => [...letters].forEach((letter, i) => header.setUint8(at + i, letter.charCodeAt(0)));
    text(0, 'RIFF');
    header.setUint32(4, 36 + 2 * samples.length, true);
    text(8, 'WAVEfmt ');
    header.setUint32(16, 16, true);
    header.setUint16(20, 1, true); // whole numbers
    header.setUint16(22, 1, true); // one channel
    header.setUint32(24, rate, true);
    header.setUint32(28, 2 * rate, true);
    header.setUint16(32, 2, true);
    header.setUint16(34, 16, true);
    text(36, 'data');
    header.setUint32(40, 2 * samples.length, true);
    const numbers = Int16Array.from(samples, (sample) => 32767 * Math.min(1, Math.max(-1, sample)));
    return new Blob([header, numbers], { type: 'audio/wav' });
}
