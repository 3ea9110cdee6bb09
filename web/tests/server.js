// The web server of ./dev web, at a port that is free.
import { spawn } from 'node:child_process';

export async function serve(folder) {
    const options = ['-u', '-m', 'http.server', '0', '--bind', '127.0.0.1', '--directory', folder];
    const server = spawn('python3', options, { stdio: ['ignore', 'pipe', 'ignore'] });
    const line = await new Promise((resolve) => server.stdout.once('data', (bytes) => resolve(String(bytes))));
    return { origin: `http://127.0.0.1:${line.match(/port (\d+)/)[1]}`, stop: () => server.kill() };
}
