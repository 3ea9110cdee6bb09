// The page: what is on it, what is heard, and what its buttons and keys do.
import { noteOf } from './katessel/index.js';
import { Chart } from './chart.js';
import { ask } from './helper.js';
import { Listening } from './listen.js';
import { Spectrogram } from './spectrogram.js';
import { readSound, wav } from './sound.js';
import { View } from './view.js';

const LIVE_PEAK = -14; // [dB] of the darkest colour while nobody knows how loud it will be
const FINE_STEP = 0.05; // [s] that an arrow moves the cursor
const COARSE_STEP = 1; // with shift
const NO_TRACK = { time: [], frequency: [], confidence: [], voiced: [] };

const at = (id) => document.getElementById(id);
const say = (text) => (at('status').textContent = text);
const chart = new Chart(at('chart'));
const player = at('player');
const view = new View();

let shown = { track: NO_TRACK, notes: [], spectrogram: null, cursor: null };
let listening = null;
let files = null; // { csv, midi } of the track, once it is there

let drawing = false;
function redraw() {
    if (drawing) return;
    drawing = true;
    requestAnimationFrame(() => {
        drawing = false;
        if (!player.paused) moveCursor(player.currentTime);
        chart.draw({ view, ...shown });
        Object.assign(at('scroll'), { max: view.end - view.length, value: view.from });
        if (!player.paused) redraw();
    });
}

function showRow(row) {
    const { track } = shown;
    const heard = track.voiced[row] ? noteOf(track.frequency[row]) : null;
    at('note').textContent = heard ? heard.name : '–';
    at('cents').textContent = heard ? `${heard.cents >= 0 ? '+' : '−'}${Math.abs(heard.cents).toFixed(0)} cents` : '';
    at('hertz').textContent = heard ? `${track.frequency[row].toFixed(1)} Hz` : '';
    at('confidence').value = track.confidence[row] ?? 0;
    return heard ? `${heard.name}, ${heard.cents.toFixed(0)} cents` : 'no pitch';
}

function moveCursor(time) {
    shown.cursor = Math.min(Math.max(0, time), view.end);
    view.reveal(shown.cursor);
    const heard = showRow(Math.min(Math.round(shown.cursor / 0.005), shown.track.time.length - 1));
    at('chart').setAttribute('aria-valuenow', shown.cursor.toFixed(2));
    at('chart').setAttribute('aria-valuetext', `${shown.cursor.toFixed(2)} s, ${heard}`);
}

function seek(time) {
    if (!files) return;
    moveCursor(time);
    player.currentTime = shown.cursor;
    redraw();
}

function zoom(factor) {
    const inSight = shown.cursor !== null && shown.cursor >= view.from && shown.cursor <= view.to;
    view.zoom(factor, inSight ? shown.cursor : view.from + view.length / 2);
    redraw();
}

function play() {
    if (!files) return;
    if (!player.paused) return player.pause();
    if (shown.cursor >= view.end - FINE_STEP) player.currentTime = 0;
    player.play();
}

function enable(ready) {
    for (const id of ['play', 'zoom-in', 'zoom-out', 'csv', 'midi', 'scroll']) at(id).disabled = !ready;
    document.body.dataset.state = ready ? 'ready' : 'busy';
}

function fillTable({ time, frequency, voiced }, notes) {
    at('note-count').textContent = notes.length;
    const rows = notes.map(({ start, end, number, name }) => {
        const away = [];
        for (let i = Math.round(start / 0.005); i < time.length && time[i] < end; ++i)
            if (voiced[i]) away.push(100 * (69 + 12 * Math.log2(frequency[i] / 440) - number));
        away.sort((a, b) => a - b);
        const row = document.createElement('tr');
        const cells = [start.toFixed(2), end.toFixed(2), name, away[away.length >> 1]?.toFixed(0) ?? ''];
        row.append(...cells.map((text) => Object.assign(document.createElement('td'), { textContent: text })));
        return row;
    });
    at('notes').replaceChildren(...rows);
}

// A recording that is there as a whole: its track, and its spectrogram bit by bit.
async function show(sound) {
    clear();
    view.show(sound.seconds);
    const spectrogram = new Spectrogram(sound, 20 * Math.log10(Math.max(sound.largest, 1e-4)) - 4);
    shown.spectrogram = spectrogram;
    say(`Listening to ${sound.name} ..`);
    const began = performance.now();
    const progress = (done) => say(`Listening to ${sound.name}: ${Math.round(100 * done)} %`);
    const { track, notes, csv, midi } = await ask('track', { samples: sound.samples, rate: sound.rate }, progress);
    const took = (performance.now() - began) / 1000;
    if (spectrogram.closed) return; // something else is shown by now
    Object.assign(shown, { track, notes });
    files = { name: sound.name.replace(/\.[^.]*$/, ''), csv, midi };
    player.src = URL.createObjectURL(wav(sound));
    at('chart').setAttribute('aria-valuemax', sound.seconds.toFixed(2));
    fillTable(track, notes);
    moveCursor(0);
    enable(true);
    say(`${sound.name}: ${sound.seconds.toFixed(1)} s, ${notes.length} notes, heard in ${took.toFixed(2)} s.`);
    redraw();
    await spectrogram.advance(true, redraw);
}

function clear() {
    if (shown.spectrogram) shown.spectrogram.closed = true;
    shown = { track: NO_TRACK, notes: [], spectrogram: null, cursor: null };
    files = null;
    player.pause();
    URL.revokeObjectURL(player.src);
    enable(false);
    fillTable(NO_TRACK, []);
    showRow(-1);
    redraw();
}

async function open(file) {
    await stopListening();
    say(`Reading ${file.name} ..`);
    await show(await readSound(file));
}

async function listen() {
    if (listening) return show(await stopListening());
    clear();
    say('Asking for the microphone ..');
    listening = await Listening.start(grow, fail);
    shown.track = listening.track;
    shown.spectrogram = new Spectrogram(listening.sound, LIVE_PEAK);
    document.body.dataset.state = 'listening';
    at('microphone').setAttribute('aria-pressed', 'true');
    at('microphone').textContent = 'Stop';
    say('Sing or play. Stop to hear it again.');
}

function grow() {
    if (!listening) return; // the first rows, or the last
    view.follow(listening.sound.seconds);
    shown.spectrogram.advance(false, redraw);
    showRow(shown.track.time.length - 1);
    redraw();
}

async function stopListening() {
    const stopped = listening;
    listening = null;
    at('microphone').setAttribute('aria-pressed', 'false');
    at('microphone').textContent = 'Microphone';
    await stopped?.stop();
    return stopped?.sound;
}

function save(content, extension) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(new Blob([content]));
    link.download = files.name + extension;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

function fail(error) {
    const refused = error.name === 'NotAllowedError';
    say(refused ? 'The microphone is not allowed: the browser asks no more until its settings change.' : error.message);
    document.body.dataset.state = 'failed';
}

const tried =
    (work) =>
    (...all) =>
        work(...all)?.catch(fail);

const keys = {
    ArrowLeft: ({ shiftKey }) => seek(shown.cursor - (shiftKey ? COARSE_STEP : FINE_STEP)),
    ArrowRight: ({ shiftKey }) => seek(shown.cursor + (shiftKey ? COARSE_STEP : FINE_STEP)),
    Home: () => seek(0),
    End: () => seek(view.end),
    ' ': play,
    '+': () => zoom(0.5),
    '-': () => zoom(2),
};

at('file').onchange = tried(async ({ target }) => {
    const [file] = target.files;
    target.value = ''; // so that the same one can be chosen again
    if (file) await open(file);
});
at('microphone').onclick = tried(listen);
at('play').onclick = play;
at('zoom-in').onclick = () => zoom(0.5);
at('zoom-out').onclick = () => zoom(2);
at('csv').onclick = () => save(files.csv, '.csv');
at('midi').onclick = () => save(files.midi, '.mid');
at('scroll').oninput = ({ target }) => {
    view.moveTo(Number(target.value));
    redraw();
};
at('chart').onclick = ({ offsetX }) => seek(chart.timeAt(offsetX));
at('chart').onkeydown = (event) => {
    const action = keys[event.key];
    if (!action) return;
    event.preventDefault();
    action(event);
};
player.onplay = player.onpause = () => {
    at('play').textContent = player.paused ? 'Play' : 'Pause';
    redraw();
};
document.ondragover = (event) => {
    event.preventDefault();
    document.body.classList.add('dropping');
};
document.ondragleave = () => document.body.classList.remove('dropping');
document.ondrop = tried(async (event) => {
    event.preventDefault();
    document.body.classList.remove('dropping');
    const [file] = event.dataTransfer.files;
    if (file) await open(file);
});
window.onresize = redraw;
redraw();
