// How fast the engine is here, in Node and in headless Chromium: node web/speed.js SITE. The best of many short turns, which
// tells what it costs even where other programs are busy.
import path from 'node:path';
import { Page } from './tests/chromium.js';
import { serve } from './tests/server.js';

// Runs in either; knows nothing but its argument. Times are in ms.
async function measure({ track, Tracker }) {
    const RATE = 48000, SECONDS = 0.5, BLOCK = 128, TENTH = 37 * BLOCK;
    let phase = 0;
    const sound = Float32Array.from({ length: RATE * SECONDS }, (_, i) => {
        phase += (2 * Math.PI * 220 * 2 ** Math.sin(i / RATE)) / RATE;
        return 0.3 * Math.sin(phase) + 0.2 * Math.sin(2 * phase) + 0.1 * Math.sin(3 * phase) + 0.02 * Math.random();
    });
    const best = async (turns, work) => {
        let least = Infinity;
        for (let turn = 0; turn < turns; ++turn) {
            const began = performance.now();
            await work();
            least = Math.min(least, performance.now() - began);
        }
        return least;
    };
    const results = [];
    for (const simd of [true, false]) {
        const start = await best(150, () => track([], RATE, { simd }));
        const whole = await best(150, () => track(sound, RATE, { simd }));
        const tracker = await Tracker.open(RATE, { simd });
        const live = await best(500, () => {
            for (let at = 0; at < TENTH; at += BLOCK) tracker.process(sound.subarray(at, at + BLOCK));
        });
        results.push({
            module: simd ? 'simd128' : 'scalar',
            start,
            offline: (1000 * SECONDS) / (whole - start), // times real time
            live: (1000 * live) / ((200 * TENTH) / RATE), // µs for 5 ms of sound
        });
    }
    return results;
}

function print(where, results) {
    for (const { module, start, offline, live } of results)
        console.log(
            `${where}, ${module}: a recording ${offline.toFixed(0)} times as fast as it sounds, ` +
                `live ${live.toFixed(1)} µs for 5 ms, ready in ${start.toFixed(1)} ms`,
        );
}

const site = path.resolve(process.argv[2]);
print(`Node ${process.versions.node}`, await measure(await import(path.join(site, 'katessel/index.js'))));

const { origin, stop } = await serve(site);
const page = await Page.open(`${origin}/`);
const version = (await page.evaluate('navigator.userAgent')).match(/Chrome\/(\d+)/)[1];
print(`Chromium ${version}`, await page.evaluate(`import('./katessel/index.js').then(${measure})`));
await page.close();
stop();
