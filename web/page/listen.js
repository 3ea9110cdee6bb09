// The microphone: a sound that grows, and its rows as they are heard.
import { pitchNode } from './katessel/index.js';
import { Sound } from './sound.js';

// Calls grown() whenever there is more. `track` has the columns of a track, as plain arrays.
export class Listening {
    track = { time: [], frequency: [], confidence: [], voiced: [] };
    #context;
    #stream;

    static async start(grown, failed) {
        if (!navigator.mediaDevices)
            throw new Error('no microphone: expected a page over HTTPS or from localhost, found another');
        const listening = new Listening();
        // The voice as it is: what is meant for telephone calls bends pitch and cuts off quiet ends.
        const raw = { echoCancellation: false, noiseSuppression: false, autoGainControl: false };
        listening.#stream = await navigator.mediaDevices.getUserMedia({ audio: raw });
        try {
            await listening.#connect(grown, failed);
        } catch (error) {
            await listening.stop();
            throw error;
        }
        return listening;
    }

    async #connect(grown, failed) {
        this.#context = new AudioContext();
        this.sound = new Sound('microphone', this.#context.sampleRate);
        const onpitch = ({ sound, ...rows }) => {
            this.sound.append(sound);
            for (const name of Object.keys(this.track)) this.track[name].push(...rows[name]);
            grown();
        };
        const node = await pitchNode(this.#context, { onpitch, onerror: failed, keepSound: true });
        this.#context.createMediaStreamSource(this.#stream).connect(node);
        await this.#context.resume();
    }

    async stop() {
        this.#stream.getTracks().forEach((each) => each.stop());
        await this.#context?.close();
    }
}
