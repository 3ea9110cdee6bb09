// Checked, not run: what the types promise to a program, and the errors that they must find.
import { csv, joined, midi, noteOf, notes, pitchNode, track, Tracker } from 'katessel';
import type { Note, Rows, Track } from 'katessel';

export async function use(context: AudioContext, source: AudioNode): Promise<number> {
    const found: Track = await track([0, 0.5], 44100, { mode: 'live', threshold: 0.5, progress: (done: number) => done });
    const tracker = await Tracker.open(48000);
    const rows: Rows[] = [tracker.process(new Float32Array(128)), tracker.finish()];
    const melody: Note[] = await notes(joined(rows));
    const bytes: Uint8Array = await midi(found);
    const node = await pitchNode(context, { onpitch: ({ time, sound }) => void [time, sound?.length], keepSound: true });
    source.connect(node);
    const text: string = csv(found) + noteOf(440).name + melody[0].name;
    return text.length + bytes.length + node.latency + tracker.latency;
}

// @ts-expect-error: a rate is a number
track(new Float32Array(8), '48000');
// @ts-expect-error: no such mode
track(new Float32Array(8), 48000, { mode: 'fast' });
// @ts-expect-error: made by open
new Tracker();
// @ts-expect-error: found by a promise
track([0], 8000).time;
