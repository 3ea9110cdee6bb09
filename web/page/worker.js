// The work that takes longer than a picture may, on a thread of its own: answers { id, task, .. } with { id, answer }.
import { csv, midi, notes, spectrogram, track } from './katessel/index.js';

const tasks = {
    async track({ samples, rate }, progress) {
        const found = await track(samples, rate, { progress });
        return { track: found, notes: await notes(found), csv: csv(found), midi: await midi(found) };
    },
    spectrogram: ({ samples, rate, options }) => spectrogram(samples, rate, options),
};

onmessage = async ({ data: { id, task, ...rest } }) => {
    try {
        postMessage({ id, answer: await tasks[task](rest, (progress) => postMessage({ id, progress })) });
    } catch (error) {
        postMessage({ id, fault: error.message });
    }
};
