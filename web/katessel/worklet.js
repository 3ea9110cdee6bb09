// The tracker on the audio thread. Loaded by microphone.js.
import { Engine } from './engine.js';

const LARGEST_BATCH = 4096; // [samples] kept until there is a row to send with them

class PitchProcessor extends AudioWorkletProcessor {
    constructor({ processorOptions: { module, weights, threshold, keepSound } }) {
        super();
        try {
            this.engine = Engine.startNow(new WebAssembly.Module(module));
            this.engine.open(true, sampleRate, { weights, threshold });
            this.kept = keepSound ? new Float32Array(LARGEST_BATCH) : null;
            this.count = 0;
            this.port.postMessage({ latency: this.engine.latency });
        } catch (error) {
            this.stop(error);
        }
    }

    process([[samples]]) {
        if (!this.engine) return false;
        if (!samples) return true; // nothing is connected now
        try {
            const rows = this.engine.process(samples);
            if (this.kept) {
                this.kept.set(samples, this.count);
                this.count += samples.length;
            }
            if (rows.time.length > 0 || this.count > LARGEST_BATCH - 2 * samples.length) this.send(rows);
        } catch (error) {
            this.stop(error);
        }
        return true;
    }

    send(rows) {
        const sound = this.kept?.slice(0, this.count);
        this.count = 0;
        this.port.postMessage({ ...rows, sound });
    }

    stop(error) {
        this.engine = null;
        this.port.postMessage({ fault: error.message });
    }
}

registerProcessor('katessel', PitchProcessor);
