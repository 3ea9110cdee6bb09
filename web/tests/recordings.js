// The bundled recordings, and what the native tool hears in them.
import { execFileSync } from 'node:child_process';
import path from 'node:path';

const { KATESSEL_SITE, KATESSEL_SOURCE, KATESSEL_TOOL, PYTHON } = process.env;
export const site = KATESSEL_SITE;
export const source = KATESSEL_SOURCE;
export const rate = 24000; // [Hz] of both
export const names = ['speech_nathalie', 'singing_martin'];
export const fileOf = (name) => path.join(source, 'examples/audio', `${name}.ogg`);

export const katessel = await import(path.join(site, 'katessel/index.js'));

const run = (program, ...all) => execFileSync(program, all, { maxBuffer: 1 << 26 });
const python = (text, ...all) => run(PYTHON, '-c', `import sys, soundfile\n${text}`, ...all);

export function samplesOf(name) {
    const bytes = python(
        'sys.stdout.buffer.write(soundfile.read(sys.argv[1], dtype="float32")[0].tobytes())',
        fileOf(name),
    );
    return new Float32Array(bytes.buffer.slice(bytes.byteOffset, bytes.byteOffset + bytes.length));
}

export const writeWav = (name, to) => python('soundfile.write(sys.argv[2], *soundfile.read(sys.argv[1]))', fileOf(name), to);

// The bytes of a track in a format of the tool.
export const toolTrack = (name, format, mode) =>
    run(KATESSEL_TOOL, 'track', '--mode', mode, '--format', format, fileOf(name));

// The numbers of the notes in a MIDI file, whatever their velocity.
export const notesOn = (bytes) =>
    Array.from(bytes.toString('latin1').matchAll(/\x90([\0-\x7f])[\x01-\x7f]/g), ([, note]) => note.charCodeAt(0));

export const tone = (rate, seconds, hertz) =>
    Float32Array.from({ length: rate * seconds }, (_, i) => {
        const phase = (2 * Math.PI * hertz * i) / rate;
        return 0.3 * Math.sin(phase) + 0.15 * Math.sin(2 * phase) + 0.1 * Math.sin(3 * phase);
    });

export const cents = (a, b) => Math.abs(1200 * Math.log2(a / b));

// Columns of a CSV file of the tool or of the page.
export function columns(text) {
    const rows = text.trim().split('\n').slice(1).map((line) => line.split(',').map(Number));
    return { time: rows.map((r) => r[0]), frequency: rows.map((r) => r[1]), confidence: rows.map((r) => r[2]) };
}
