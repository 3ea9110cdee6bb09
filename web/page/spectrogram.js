// The spectrogram of a sound: columns of even width in pictures side by side, made by the worker one after the other.
import { ask } from './helper.js';
import { HIGHEST, LOWEST } from './view.js';

const ROWS = 256;
const COLUMNS = 128; // of one picture
const SHORTEST_COLUMN = 0.01; // [s]
const MOST_COLUMNS = 20000; // of a sound, which for long ones become longer: each holds the loudest of its time
const MARGIN = 0.05; // [s] that a column hears on either side
const RANGE = 60; // [dB] from the quietest to the loudest

export class Spectrogram {
    #pictures = [];
    #done = 0; // [columns]
    #busy = false;
    closed = false;

    // `peak` [dB] is the level of the darkest colour.
    constructor(sound, peak) {
        this.sound = sound;
        this.peak = peak;
        this.column = Math.max(SHORTEST_COLUMN, sound.seconds / MOST_COLUMNS); // [s]
    }

    // Makes what can be made of the sound that is there; of one that has ended, all.
    async advance(hasEnded, changed) {
        if (this.#busy) return;
        this.#busy = true;
        const ready = () =>
            hasEnded
                ? Math.ceil(this.sound.seconds / this.column)
                : Math.floor((this.sound.seconds - MARGIN) / this.column);
        while (!this.closed && this.#done < ready()) {
            const first = this.#done % COLUMNS;
            const columns = Math.min(COLUMNS - first, ready() - this.#done);
            await this.#make(Math.floor(this.#done / COLUMNS), first, columns);
            this.#done += columns;
            changed();
        }
        this.#busy = false;
    }

    async #make(index, first, columns) {
        const from = this.#done * this.column;
        const duration = columns * this.column;
        const { samples, at } = this.sound.part(from - MARGIN, from + duration + MARGIN);
        const options = {
            start: from - at,
            duration,
            bottom: LOWEST,
            top: HIGHEST,
            columns,
            height: ROWS,
            quietest: this.peak - RANGE,
            loudest: this.peak,
        };
        const pixels = await ask('spectrogram', { samples, rate: this.sound.rate, options });
        if (!this.#pictures[index]) {
            this.#pictures[index] = document.createElement('canvas');
            this.#pictures[index].width = COLUMNS;
            this.#pictures[index].height = ROWS;
        }
        this.#pictures[index].getContext('2d').putImageData(new ImageData(pixels, columns), first, 0);
    }

    draw(context, view, { left, top, width, height }) {
        const scale = width / view.length;
        const span = COLUMNS * this.column;
        const last = Math.min(this.#pictures.length, Math.ceil(view.to / span));
        for (let i = Math.floor(view.from / span); i < last; ++i)
            context.drawImage(this.#pictures[i], left + (i * span - view.from) * scale, top, span * scale, height);
    }
}
