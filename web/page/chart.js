// The picture: spectrogram, notes, pitch and cursor over a time axis, the confidence below.
import { noteFrequency, noteOf } from './katessel/index.js';
import { HIGHEST, heightOf, LOWEST } from './view.js';

const INK = '#333';
const GRID = '#ddd';
const PITCH = '#e6400d';
const NOTE = 'rgba(0, 140, 60, 0.35)';
const NOTE_INK = '#064d23';
const LEFT = 40; // [pixels] of the note names
const BELOW = 22; // of the times
const CONFIDENCE = 56; // height
const GAP = 10;
const LONGEST_GAP = 0.03; // [s] between two rows that a line connects
const LARGEST_STEP = 1.25; // ratio of two such rows
const STEPS = [0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 60, 120, 300, 600, 1800, 7200]; // [s] between two labels

export class Chart {
    constructor(canvas) {
        this.canvas = canvas;
        this.context = canvas.getContext('2d');
    }

    // content: { view, spectrogram, track, notes, cursor }
    draw(content) {
        const { width, height } = this.canvas.getBoundingClientRect();
        const scale = window.devicePixelRatio;
        this.canvas.width = Math.round(width * scale);
        this.canvas.height = Math.round(height * scale);
        this.context.setTransform(scale, 0, 0, scale, 0, 0);
        this.context.font = '12px system-ui, sans-serif';
        this.context.textBaseline = 'middle';
        this.view = content.view;
        this.box = { left: LEFT, top: 0, width: width - LEFT, height: height - BELOW - CONFIDENCE - GAP };
        this.below = { ...this.box, top: this.box.height + GAP, height: CONFIDENCE };

        this.#inside(this.box, () => {
            content.spectrogram?.draw(this.context, this.view, this.box);
            this.#drawGrid();
            content.notes.forEach((note) => this.#drawNote(note));
            this.#drawPitch(content.track, 'white', 4);
            this.#drawPitch(content.track, PITCH, 2);
        });
        this.#drawNames();
        this.#drawConfidence(content.track);
        this.#drawTimes();
        if (content.cursor !== null) this.#line(this.x(content.cursor), 0, this.x(content.cursor), this.#bottom(), INK);
    }

    x(time) {
        return this.box.left + ((time - this.view.from) / this.view.length) * this.box.width;
    }

    timeAt(x) {
        return this.view.from + ((x - this.box.left) / this.box.width) * this.view.length;
    }

    #y(frequency) {
        return this.box.top + (1 - heightOf(frequency)) * this.box.height;
    }

    #bottom() {
        return this.below.top + this.below.height;
    }

    #inside({ left, top, width, height }, drawAll) {
        this.context.save();
        this.context.beginPath();
        this.context.rect(left, top, width, height);
        this.context.clip();
        drawAll();
        this.context.restore();
        this.context.strokeStyle = INK;
        this.context.strokeRect(left + 0.5, top + 0.5, width - 1, height - 1);
    }

    #line(x0, y0, x1, y1, colour) {
        this.context.strokeStyle = colour;
        this.context.lineWidth = 1;
        this.context.beginPath();
        this.context.moveTo(x0, y0);
        this.context.lineTo(x1, y1);
        this.context.stroke();
    }

    // Every C, as names and as lines.
    #octaves() {
        const lowest = Math.ceil(noteOf(LOWEST).number / 12) * 12;
        const numbers = [];
        for (let number = lowest; noteFrequency(number) < HIGHEST; number += 12) numbers.push(number);
        return numbers;
    }

    #drawGrid() {
        for (const number of this.#octaves()) {
            const y = Math.round(this.#y(noteFrequency(number))) + 0.5;
            this.#line(this.box.left, y, this.box.left + this.box.width, y, GRID);
        }
    }

    #drawNames() {
        this.context.fillStyle = INK;
        this.context.textAlign = 'right';
        for (const number of this.#octaves()) {
            const frequency = noteFrequency(number);
            this.context.fillText(noteOf(frequency).name, LEFT - 6, Math.max(this.#y(frequency), 7));
        }
    }

    #drawNote({ start, end, number, name }) {
        if (end < this.view.from || start > this.view.to) return;
        const [left, right] = [this.x(start), this.x(end)];
        const top = this.#y(noteFrequency(number + 0.5));
        const height = this.#y(noteFrequency(number - 0.5)) - top;
        this.context.fillStyle = NOTE;
        this.context.fillRect(left, top, right - left, height);
        if (right - left < this.context.measureText(name).width + 4) return;
        this.context.fillStyle = NOTE_INK;
        this.context.strokeStyle = 'white';
        this.context.lineWidth = 3;
        this.context.textAlign = 'left';
        this.context.strokeText(name, left + 2, top - 8);
        this.context.fillText(name, left + 2, top - 8);
    }

    // Calls each(i) for the rows of the track that are in sight, and one on either side.
    #rows({ time }, each) {
        const first = Math.max(0, Math.floor(this.view.from / 0.005) - 1);
        const last = Math.min(time.length - 1, Math.ceil(this.view.to / 0.005) + 1);
        for (let i = first; i <= last; ++i) each(i);
    }

    #drawPitch(track, colour, width) {
        const { time, frequency, voiced } = track;
        this.context.strokeStyle = colour;
        this.context.lineWidth = width;
        this.context.lineCap = this.context.lineJoin = 'round';
        this.context.beginPath();
        let before = -1;
        this.#rows(track, (i) => {
            if (!voiced[i]) return;
            const step = before < 0 ? 0 : frequency[i] / frequency[before];
            const connected =
                step < LARGEST_STEP && step > 1 / LARGEST_STEP && time[i] - time[before] <= LONGEST_GAP;
            const [x, y] = [this.x(time[i]), this.#y(frequency[i])];
            if (!connected) this.context.moveTo(x, y);
            this.context.lineTo(x, y);
            before = i;
        });
        this.context.stroke();
    }

    #drawConfidence(track) {
        const y = (confidence) => this.below.top + 2 + (1 - confidence) * (this.below.height - 4);
        this.#inside(this.below, () => {
            this.context.strokeStyle = PITCH;
            this.context.lineWidth = 1.5;
            this.context.beginPath();
            this.#rows(track, (i) => this.context.lineTo(this.x(track.time[i]), y(track.confidence[i])));
            this.context.stroke();
        });
        this.context.fillStyle = INK;
        this.context.textAlign = 'right';
        for (const value of [0, 1]) this.context.fillText(value, LEFT - 6, y(value) + (value ? 6 : -6));
        this.context.textAlign = 'left';
        this.context.fillText('confidence', LEFT + 4, this.below.top + 9);
    }

    #drawTimes() {
        const step = STEPS.find(
            (seconds) => (seconds / this.view.length) * this.box.width > 56 || seconds === STEPS.at(-1),
        );
        this.context.fillStyle = INK;
        for (let k = Math.ceil(this.view.from / step); k * step <= this.view.to; ++k) {
            const x = this.x(k * step);
            this.#line(x, this.#bottom(), x, this.#bottom() + 4, INK);
            this.context.textAlign = x > this.box.left + this.box.width - 20 ? 'right' : 'center';
            this.context.fillText(`${Number((k * step).toFixed(2))} s`, x, this.#bottom() + 13);
        }
    }
}
