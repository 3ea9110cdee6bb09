// The package as others install it: by its name, whole, with types that a compiler accepts.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { site, source } from './recordings.js';

const folder = path.join(site, 'katessel');
const of = (name) => readFileSync(path.join(folder, name));

test('imported by name, it tracks, and its types are those of its functions', () => {
    const project = mkdtempSync(path.join(tmpdir(), 'katessel-package-'));
    try {
        mkdirSync(path.join(project, 'node_modules'));
        cpSync(folder, path.join(project, 'node_modules/katessel'), { recursive: true });
        cpSync(path.join(source, 'web/tests/typed_use.ts'), path.join(project, 'typed_use.ts'));
        const options = '--noEmit --strict --target es2022 --module es2022 --moduleResolution node typed_use.ts';
        execFileSync('tsc', options.split(' '), { cwd: project, stdio: ['ignore', 'inherit', 'inherit'] });
        writeFileSync(
            path.join(project, 'use.mjs'),
            `import { track } from 'katessel';
             const { time, voiced } = await track(new Float32Array(8000), 16000);
             console.log(time.length, voiced[50]);`,
        );
        assert.equal(String(execFileSync('node', [path.join(project, 'use.mjs')])), '100 0\n');
    } finally {
        rmSync(project, { recursive: true });
    }
});

test('its version is the library’s, and a first visit loads no more than 630 kB', () => {
    const { version, exports } = JSON.parse(of('package.json'));
    assert.match(readFileSync(path.join(source, 'CMakeLists.txt'), 'utf8'), new RegExp(`KaTessel VERSION ${version} `));
    for (const file of Object.values(exports['.'])) assert.ok(existsSync(path.join(folder, file)), file);
    const scripts = ['index.js', 'engine.js', 'files.js', 'microphone.js', 'worklet.js'];
    const loaded = [...scripts, 'katessel-simd128.wasm', 'live.weights', 'live.json'];
    const bytes = loaded.reduce((sum, name) => sum + gzipSync(of(name), { level: 9 }).length, 0);
    assert.ok(bytes < 630000, `${bytes} bytes`);
    assert.ok(statSync(path.join(folder, 'offline.weights')).size > 500000);
});
