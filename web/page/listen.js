// The microphone: a sound that grows, and its rows as they are heard.
import { pitchNode } from './katessel/index.js';
import { Sound } from './sound.js';

// Calls grown() whenever there is more. `track` has the columns of a track, as plain arrays.
export class Listening {
    track = { time: [], frequency: [], confidence: [], voiced: [] };
    #context;
    #stream;

    static async start(grown, failed) {
        const listening = new Listening();
        // The voice as it is: what is meant for telephone calls bends pitch and cuts off quiet ends.
        const raw = { echoCancellation: false, noiseSuppression: false, autoGainControl: false };
        listening.#stream = await navigator.mediaDevices.getUserMedia({ audio: raw });
        listening.#context = new AudioContext();
        listening.sound = new Sound('microphone', listening.#context.sampleRate);
        const onpitch = ({ sound, ...rows }) => {
            listening.sound.append(sound);
            for (const name of Object.keys(listening.track)) listening.track[name].push(...rows[name]);
            grown();
        };
        const node = await pitchNode(listening.#context, { onpitch, onerror: failed, keepSound: true });
        listening.#context.createMediaStreamSource(listening.#stream).connect(node);
        await listening.#context.resume();
        return listening;
    }

    stop() {
        this.#stream.getTracks().forEach((each) => each.stop());
        return this.#context.close();
    }
}
