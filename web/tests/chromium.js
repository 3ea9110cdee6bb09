// Headless Chromium, told what to do over its DevTools protocol on two pipes.
import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';

export class Page {
    events = []; // { method, params } of all that happened
    #asked = 0;
    #waiting = new Map();

    static async open(url, ...options) {
        const page = new Page();
        page.folder = mkdtempSync(path.join(tmpdir(), 'katessel-chromium-'));
        const sandbox = process.getuid() === 0 ? ['--no-sandbox'] : [];
        const all = ['--headless=new', '--disable-gpu', '--remote-debugging-pipe', `--user-data-dir=${page.folder}/profile`];
        page.process = spawn('chromium', [...all, ...sandbox, ...options, 'about:blank'], {
            stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'],
        });
        page.ended = new Promise((resolve) => page.process.on('exit', resolve));
        page.#receive(page.process.stdio[4]);
        const { targetInfos } = await page.#send('Target.getTargets');
        const { targetId } = targetInfos.find(({ type }) => type === 'page');
        page.session = (await page.#send('Target.attachToTarget', { targetId, flatten: true })).sessionId;
        await page.send('Browser.setDownloadBehavior', { behavior: 'allow', downloadPath: page.folder });
        for (const domain of ['Page', 'DOM']) await page.send(`${domain}.enable`);
        await page.#watch(page.session);
        await page.send('Page.navigate', { url });
        await page.until(() => page.events.some(({ method }) => method === 'Page.loadEventFired'));
        return page;
    }

    // The page, or one of its workers, which wait until they are watched. Not all of them know every domain.
    async #watch(session) {
        for (const domain of ['Runtime', 'Log', 'Network'])
            await this.#send(`${domain}.enable`, {}, session).catch(() => {});
        const workers = { autoAttach: true, waitForDebuggerOnStart: true, flatten: true };
        await this.#send('Target.setAutoAttach', workers, session).catch(() => {});
        await this.#send('Runtime.runIfWaitingForDebugger', {}, session).catch(() => {});
    }

    // Messages end with a NUL.
    #receive(pipe) {
        let rest = Buffer.alloc(0);
        pipe.on('data', (bytes) => {
            rest = Buffer.concat([rest, bytes]);
            for (let end = rest.indexOf(0); end >= 0; end = rest.indexOf(0)) {
                const { id, result, error, method, params } = JSON.parse(rest.subarray(0, end));
                rest = rest.subarray(end + 1);
                if (method === 'Target.attachedToTarget' && this.session) this.#watch(params.sessionId);
                if (method) this.events.push({ method, params });
                else if (error) this.#waiting.get(id).reject(new Error(error.message));
                else this.#waiting.get(id).resolve(result);
            }
        });
    }

    #send(method, params = {}, sessionId = undefined) {
        const id = ++this.#asked;
        this.process.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
        return new Promise((resolve, reject) => this.#waiting.set(id, { resolve, reject }));
    }

    send(method, params) {
        return this.#send(method, params, this.session);
    }

    async evaluate(expression, session = this.session) {
        const all = { expression, awaitPromise: true, returnByValue: true };
        const { result, exceptionDetails } = await this.#send('Runtime.evaluate', all, session);
        if (exceptionDetails) throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
        return result.value;
    }

    // Waits for what becomes true.
    async until(what, seconds = 30) {
        const check = typeof what === 'string' ? () => this.evaluate(what) : what;
        const last = Date.now() + 1000 * seconds;
        while (!(await check())) {
            if (Date.now() > last) throw new Error(`not within ${seconds} s: ${what}`);
            await new Promise((resolve) => setTimeout(resolve, 20));
        }
    }

    // A key as a person presses it, for what has the focus.
    async press(key, text) {
        await this.send('Input.dispatchKeyEvent', { type: 'keyDown', key, text });
        await this.send('Input.dispatchKeyEvent', { type: 'keyUp', key });
    }

    async chooseFile(selector, ...files) {
        const { root } = await this.send('DOM.getDocument');
        const { nodeId } = await this.send('DOM.querySelector', { nodeId: root.nodeId, selector });
        await this.send('DOM.setFileInputFiles', { nodeId, files });
    }

    // What anyone would see on the console: messages of the page and of the browser.
    get messages() {
        const loud = ['Runtime.consoleAPICalled', 'Runtime.exceptionThrown', 'Log.entryAdded'];
        return this.events.filter(({ method }) => loud.includes(method)).map(({ params }) => JSON.stringify(params));
    }

    async close() {
        await this.#send('Browser.close');
        await this.ended;
        rmSync(this.folder, { recursive: true, force: true });
    }
}
