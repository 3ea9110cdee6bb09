// The files of the package: modules and models, from a web server or, in Node, from the disk.

// A function that returns a vector, as bytes of a module: valid where there are vectors.
const VECTORS = new Uint8Array([
    0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11,
]);

async function bytesOf(url) {
    if (url.protocol === 'file:') {
        const { readFile } = await import(/* webpackIgnore: true */ /* @vite-ignore */ 'node:fs/promises');
        return new Uint8Array(await readFile(url));
    }
    const response = await fetch(url);
    if (!response.ok) throw new Error(`cannot load: ${url}: expected a file, found status ${response.status}`);
    return new Uint8Array(await response.arrayBuffer());
}

// Each is read once; a failure is forgotten, so that the next call tries again.
const kept = new Map();
function once(key, make) {
    if (!kept.has(key)) {
        const made = make();
        made.catch(() => kept.delete(key));
        kept.set(key, made);
    }
    return kept.get(key);
}

const hasVectors = () => WebAssembly.validate(VECTORS);

export function moduleBytes(simd = hasVectors()) {
    const url = simd
        ? new URL('./katessel-simd128.wasm', import.meta.url)
        : new URL('./katessel-scalar.wasm', import.meta.url);
    return once(url.href, () => bytesOf(url));
}

export function compiledModule(simd = hasVectors()) {
    return once(`compiled, ${simd}`, async () => WebAssembly.compile(await moduleBytes(simd)));
}

// The model of a form with the threshold that its card gives.
export function defaultModel(mode) {
    const [weights, card] =
        mode === 'live'
            ? [new URL('./live.weights', import.meta.url), new URL('./live.json', import.meta.url)]
            : [new URL('./offline.weights', import.meta.url), new URL('./offline.json', import.meta.url)];
    return once(weights.href, async () => {
        const [bytes, text] = await Promise.all([bytesOf(weights), bytesOf(card)]);
        return { weights: bytes, threshold: JSON.parse(new TextDecoder().decode(text)).default_threshold };
    });
}
