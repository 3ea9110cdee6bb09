// The microphone, or anything else that an AudioContext plays: the tracker as a node of its graph.
import { defaultModel, moduleBytes } from './files.js';

// A node that calls onpitch({ time, frequency, confidence, voiced, sound }) as soon as a row is decided. `sound` holds the
// samples since the call before, where keepSound is true. Times count from the node's first sample.
export async function pitchNode(context, { onpitch, onerror, keepSound = false, model, threshold, simd } = {}) {
    const [module, { weights, threshold: usual }] = await Promise.all([
        moduleBytes(simd),
        model ?? defaultModel('live'),
        context.audioWorklet.addModule(new URL('./worklet.js', import.meta.url)),
    ]);
    const node = new AudioWorkletNode(context, 'katessel', {
        numberOfOutputs: 0,
        channelCount: 1, // others are mixed
        channelCountMode: 'explicit',
        processorOptions: { module, weights, threshold: threshold ?? usual ?? 0.5, keepSound },
    });
    node.latency = await new Promise((resolve, reject) => {
        node.port.onmessage = ({ data }) => (data.fault ? reject(new Error(data.fault)) : resolve(data.latency));
    });
    node.port.onmessage = ({ data }) => (data.fault ? onerror?.(new Error(data.fault)) : onpitch?.(data));
    return node;
}
