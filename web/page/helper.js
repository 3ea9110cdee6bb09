// Asks the worker. It begins as a blob, as one from a server would not be bound by the page's security policy.
const begin = new Blob([`import '${new URL('./worker.js', import.meta.url)}';`], { type: 'text/javascript' });
const worker = new Worker(URL.createObjectURL(begin), { type: 'module' });
const waiting = new Map();
let asked = 0;

worker.onmessage = ({ data: { id, progress, answer, fault } }) => {
    const question = waiting.get(id);
    if (progress !== undefined) return question.progress?.(progress);
    waiting.delete(id);
    if (fault !== undefined) question.reject(new Error(fault));
    else question.resolve(answer);
};

export function ask(task, content, progress) {
    return new Promise((resolve, reject) => {
        waiting.set(++asked, { resolve, reject, progress });
        worker.postMessage({ id: asked, task, ...content });
    });
}
