/** Rows of 5 ms, a value of each in every column. */
export interface Rows {
    /** [s] */
    time: Float64Array;
    /** [Hz], 0 where the row is not voiced */
    frequency: Float32Array;
    /** 0 to 1: about the probability that there is a pitch, and this one */
    confidence: Float32Array;
    /** 1 or 0 */
    voiced: Uint8Array;
}

export interface Track extends Rows {
    /** [s] of the sound */
    end: number;
}

export interface Note {
    /** [s] */
    start: number;
    end: number;
    /** MIDI, 69 for A4 */
    number: number;
    name: string;
}

export interface Model {
    /** The content of a weight file. */
    weights: Uint8Array;
    /** Confidence that decides which rows are voiced; without it 0.5. */
    threshold?: number;
}

export interface Options {
    /** Without it the one that comes with the package. */
    model?: Model;
    /** In place of the model's. */
    threshold?: number;
    /** Which module: with vectors or without; by itself, the best that runs here. */
    simd?: boolean;
}

export interface TrackOptions extends Options {
    /** 'offline', the default: every instant seen from both sides; 'live': as a Tracker hears it. */
    mode?: 'offline' | 'live';
    /** Called with the part that is done, up to 1, every two minutes of an offline recording. */
    progress?(done: number): void;
}

/** The pitch of a whole recording: mono, nominally -1 to 1, at 1000 to 240000 Hz. */
export function track(samples: ArrayLike<number>, rate: number, options?: TrackOptions): Promise<Track>;

/** The pitch of a live sound, in blocks of any length. */
export class Tracker {
    private constructor();
    static open(rate: number, options?: Options): Promise<Tracker>;
    /** [Hz] */
    readonly rate: number;
    /** How much sound a row waits for [samples]: 1992 at 48 kHz. */
    readonly latency: number;
    /** The rows that these samples complete, often none. */
    process(samples: ArrayLike<number>): Rows;
    /** The rows that still waited when the sound ended. The tracker is then as new. */
    finish(): Rows;
}

/** Parts of one track, such as those of a Tracker, as one. */
export function joined(parts: Rows[]): Track;

export interface PitchNodeOptions extends Options {
    /** Called for every row as soon as it is decided; `sound`: the samples since the call before. */
    onpitch?(rows: Rows & { sound?: Float32Array }): void;
    onerror?(error: Error): void;
    /** Pass the samples on. */
    keepSound?: boolean;
}

/** A node that hears what is connected to it, on the audio thread. `latency` as that of a Tracker. */
export function pitchNode(
    context: BaseAudioContext,
    options?: PitchNodeOptions,
): Promise<AudioWorkletNode & { latency: number }>;

export function notes(track: Track): Promise<Note[]>;
/** The notes as a MIDI file. */
export function midi(track: Track): Promise<Uint8Array>;
export function csv(rows: Rows): string;

/** The nearest note, A4 at 440 Hz. */
export function noteOf(frequency: number): { number: number; name: string; cents: number };
/** [Hz] of a MIDI number */
export function noteFrequency(number: number): number;

export interface SpectrogramOptions {
    /** [s] of the sound that is passed */
    start: number;
    duration: number;
    /** [Hz] of a logarithmic axis */
    bottom: number;
    top: number;
    columns: number;
    height: number;
    /** [dB] of white, and of the darkest */
    quietest: number;
    loudest: number;
}

/** Red, green, blue and 255 for each of columns x height pixels, the top row first: for an ImageData. */
export function spectrogram(
    samples: ArrayLike<number>,
    rate: number,
    options: SpectrogramOptions,
): Promise<Uint8ClampedArray>;

/** What this machine computes with, or a module. */
export function instructions(simd?: boolean): Promise<'simd128' | 'scalar'>;
