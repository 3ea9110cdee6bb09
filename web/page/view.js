// Which part of a sound is shown, and where a frequency lies.

export const LOWEST = 50; // [Hz] of the logarithmic axis
export const HIGHEST = 3200;

const SHORTEST = 0.5; // [s]
const FIRST = 12; // [s] that are shown at first

export class View {
    from = 0; // [s]
    length = FIRST; // [s]
    end = FIRST; // [s] of the sound

    get to() {
        return this.from + this.length;
    }

    // A new sound, from its beginning.
    show(seconds) {
        this.end = Math.max(seconds, SHORTEST);
        this.length = Math.min(this.end, FIRST);
        this.from = 0;
    }

    // A sound that still grows, its end in sight.
    follow(seconds) {
        this.length = FIRST;
        this.end = Math.max(seconds, FIRST);
        this.from = this.end - FIRST;
    }

    moveTo(from) {
        this.from = Math.min(Math.max(0, from), this.end - this.length);
    }

    // Keeps `time` where it is, as far as that goes.
    zoom(factor, time) {
        const length = Math.min(Math.max(this.length * factor, SHORTEST), this.end);
        const share = (time - this.from) / this.length;
        this.length = length;
        this.moveTo(time - share * length);
    }

    // So that `time` is in sight, with a page turned where it is not.
    reveal(time) {
        if (time < this.from || time > this.to) this.moveTo(time - 0.1 * this.length);
    }
}

// 0 at the bottom, 1 at the top.
export const heightOf = (frequency) => Math.log(frequency / LOWEST) / Math.log(HIGHEST / LOWEST);
