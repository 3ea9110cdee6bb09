// The page in a browser, as a person uses it: with a file, by keyboard, on a telephone, with the microphone.
import assert from 'node:assert/strict';
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { Page } from './chromium.js';
import { cents, columns, fileOf, names, notesOn, site, toolTrack, writeWav } from './recordings.js';
import { serve } from './server.js';

let origin, stop, folder;

before(async () => {
    folder = mkdtempSync(path.join(tmpdir(), 'katessel-page-'));
    ({ origin, stop } = await serve(site));
});
after(() => {
    stop();
    rmSync(folder, { recursive: true, force: true });
});

const state = (name) => `document.body.dataset.state === '${name}'`;
const click = (page, id) => page.evaluate(`document.getElementById('${id}').click()`);
const textOf = (page, id) => page.evaluate(`document.getElementById('${id}').textContent`);
const resize = (page, width, height, deviceScaleFactor, mobile) =>
    page.send('Emulation.setDeviceMetricsOverride', { width, height, deviceScaleFactor, mobile });

async function download(page, id, name) {
    await click(page, id);
    const file = path.join(page.folder, name);
    await page.until(() => existsSync(file));
    return readFileSync(file);
}

// Nothing on the console, and no request but for what the page is made of.
function assertQuiet(page) {
    assert.deepEqual(page.messages, []);
    const requests = page.events.filter(({ method }) => method === 'Network.requestWillBeSent');
    assert.ok(requests.length > 10);
    for (const { request } of requests.map(({ params }) => params)) {
        assert.equal(request.method, 'GET', request.url);
        assert.ok([origin, 'blob:', 'data:'].some((begin) => request.url.startsWith(begin)), request.url);
        assert.ok(!request.hasPostData);
    }
}

// The browser brings the file to another rate first, so that a row may differ, but few.
function assertLike(page, tool) {
    assert.ok(Math.abs(page.time.length - tool.time.length) <= 1);
    const count = Math.min(page.time.length, tool.time.length);
    let voiced = 0, otherVoicing = 0, otherPitch = 0;
    for (let i = 0; i < count; ++i) {
        const both = page.frequency[i] > 0 && tool.frequency[i] > 0;
        voiced += tool.frequency[i] > 0;
        otherVoicing += page.frequency[i] > 0 !== tool.frequency[i] > 0;
        otherPitch += both && cents(page.frequency[i], tool.frequency[i]) > 5;
    }
    const found = `${otherVoicing} of ${count}, ${otherPitch} of ${voiced}`;
    assert.ok(otherVoicing <= 0.01 * count && otherPitch <= 0.01 * voiced, found);
}

test('a file: track, notes, files, keyboard, sound', { timeout: 120000 }, async (t) => {
    const name = names[1];
    const page = await Page.open(`${origin}/`, '--window-size=1000,820', '--autoplay-policy=no-user-gesture-required');
    t.after(() => page.close());
    assert.match(await page.evaluate('document.body.innerText'), /Nothing leaves this machine/);
    await page.chooseFile('#file', fileOf(name));
    await page.until(state('ready'));

    const tool = columns(String(toolTrack(name, 'csv', 'offline')));
    assertLike(columns(String(await download(page, 'csv', `${name}.csv`))), tool);
    const melody = notesOn(toolTrack(name, 'midi', 'offline'));
    assert.ok(melody.length > 3);
    assert.deepEqual(notesOn(await download(page, 'midi', `${name}.mid`)), melody);
    assert.equal(await page.evaluate(`document.querySelectorAll('#notes tr').length`), melody.length);

    const cursor = () => page.evaluate(`Number(document.getElementById('chart').getAttribute('aria-valuenow'))`);
    await page.evaluate(`document.getElementById('chart').focus()`);
    await page.press('ArrowRight');
    assert.equal(await cursor(), 0.05);
    await page.press('+', '+');
    await page.until(`Number(document.getElementById('scroll').max) > 3`);
    await page.press('-', '-');
    await page.until(`Number(document.getElementById('scroll').max) === 0`);
    await page.press(' ', ' ');
    await page.until(async () => (await cursor()) > 0.5);
    await page.press(' ', ' ');
    await page.until(`document.getElementById('player').paused`);
    const row = Math.round((await cursor()) / 0.005);
    assert.equal((await textOf(page, 'note')) !== '–', tool.frequency[row] > 0);
    await page.press('End');
    assert.ok((await cursor()) > 6);

    // Dark where the sound is, white where there is none, and the pitch in its colour.
    await new Promise((resolve) => setTimeout(resolve, 500));
    const colours = await page.evaluate(`(() => {
        const drawn = document.getElementById('chart').getContext('2d');
        const { width, height } = drawn.canvas;
        const { data } = drawn.getImageData(0, 0, width, Math.floor(0.7 * height)); // without the confidence
        let pitch = 0, dark = 0, light = 0;
        for (let i = 0; i < data.length; i += 4) {
            if (data[i] > 200 && data[i + 1] < 90 && data[i + 2] < 60) ++pitch;
            else if (data[i + 2] > data[i] + 60) ++dark;
            else if (data[i] > 240) ++light;
        }
        return { pitch: pitch / width, dark: dark / width / height, light: light / width / height };
    })()`);
    assert.ok(colours.pitch > 0.5 && colours.dark > 0.05 && colours.light > 0.005, JSON.stringify(colours));

    // The picture of docs/web.md.
    await resize(page, 1000, 820, 1, false);
    await page.press('Home');
    for (let i = 0; i < 9; ++i) await page.press('ArrowRight');
    await new Promise((resolve) => setTimeout(resolve, 500));
    const { data } = await page.send('Page.captureScreenshot', { format: 'jpeg', quality: 55 });
    writeFileSync(path.join(site, '..', 'page.jpg'), Buffer.from(data, 'base64'));

    await resize(page, 360, 740, 2, true);
    await page.until(`innerWidth === 360 && document.documentElement.scrollWidth <= 360`);
    const small = `[...document.querySelectorAll('button')].filter((b) => b.getBoundingClientRect().height < 44).length`;
    assert.equal(await page.evaluate(small), 0);

    await page.chooseFile('#file', path.join(site, 'main.js'));
    await page.until(state('failed'));
    assert.match(await textOf(page, 'status'), /^cannot read main\.js: expected a recording/);
    assertQuiet(page);
});

test('the microphone: heard while it sounds, then as a recording', { timeout: 120000 }, async (t) => {
    const name = names[1];
    const sound = path.join(folder, 'microphone.wav');
    writeWav(name, sound);
    const fake = ['--use-fake-device-for-media-stream', '--use-fake-ui-for-media-stream'];
    const page = await Page.open(`${origin}/`, ...fake, `--use-file-for-fake-audio-capture=${sound}`);
    t.after(() => page.close());
    await click(page, 'microphone');
    await page.until(state('listening'));
    const heard = new Set();
    await page.until(async () => heard.add(await textOf(page, 'note')).size >= 6);
    await click(page, 'microphone');
    await page.until(state('ready'));

    // The same notes as in the file; where it began nobody knows.
    const ofTool = columns(String(toolTrack(name, 'csv', 'offline'))).frequency.filter((f) => f > 0);
    const found = columns(String(await download(page, 'csv', 'microphone.csv'))).frequency.filter((f) => f > 0);
    assert.ok(found.length > 200);
    const near = found.filter((f) => ofTool.some((g) => cents(f, g) < 20));
    assert.ok(near.length > 0.95 * found.length, `${near.length} of ${found.length}`);
    assertQuiet(page);

    // What would leave is stopped by the browser, in the page and in the worker that holds the sound.
    const send = `new Promise((resolve) => {
        addEventListener('securitypolicyviolation', ({ effectiveDirective }) => resolve(effectiveDirective));
        fetch('http://127.0.0.1:9/').catch(() => setTimeout(resolve, 1000, 'nothing'));
    })`;
    const helper = page.events.find(({ params }) => params.targetInfo?.type === 'worker');
    for (const session of [page.session, helper.params.sessionId])
        assert.equal(await page.evaluate(send, session), 'connect-src');
});
