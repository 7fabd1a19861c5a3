// serve.mjs FOLDER PORT: serves a folder on this machine alone, until Ctrl-C. No more than what the page needs of a server.

import fs from 'node:fs';
import http from 'node:http';
import path from 'node:path';

const TYPES = {'.html': 'text/html; charset=utf-8', '.js': 'text/javascript', '.css': 'text/css', '.wasm': 'application/wasm',
    '.png': 'image/png', '.webmanifest': 'application/manifest+json', '.txt': 'text/plain; charset=utf-8'};

// The file that is asked for, or an empty text where no file can be called so.
function nameIn(address, prefix) {
    try {
        const {pathname} = new URL(address, 'http://localhost');
        const name = pathname.startsWith(prefix) ? decodeURIComponent(pathname.slice(prefix.length)) || 'index.html' : '';
        return name.includes('\0') ? '' : name;
    } catch {
        return '';
    }
}

// A server of `folder`, which is seen below `prefix`.
export function makeServer(folder, prefix = '/') {
    return http.createServer((request, response) => {
        const file = path.join(folder, nameIn(request.url, prefix));
        fs.readFile(file, (error, content) => {
            const found = !error && file.startsWith(folder + path.sep);
            response.writeHead(found ? 200 : 404, {'Content-Type': found ? TYPES[path.extname(file)] ?? 'application/octet-stream'
                : 'text/plain', 'Cache-Control': 'no-cache'});
            response.end(found && request.method !== 'HEAD' ? content : '');
        });
    });
}

if (process.argv[1] && import.meta.url === new URL(`file://${path.resolve(process.argv[1])}`).href) {
    const [folder, port] = process.argv.slice(2);
    const server = makeServer(path.resolve(folder));
    server.on('error', error => {
        console.error(`The page cannot be served on port ${port}: ${error.code === 'EADDRINUSE' ? 'something else is there' : error.message}`);
        process.exit(1);
    });
    server.listen(Number(port), 'localhost', () => console.log(`http://localhost:${port} has the page; Ctrl-C ends it.`));
    for (const signal of ['SIGINT', 'SIGTERM']) process.on(signal, () => process.exit(0));
}
