// Keeps the page on this machine, so that it works without the network. The two constants are the folder's own, written
// when it is put together: another release has another name, and everything is fetched anew.

const NAME = '@NAME@';
const FILES = ['@FILES@'];

self.addEventListener('install', event => event.waitUntil((async () => {
    const cache = await caches.open(NAME);
    await cache.addAll(FILES.map(file => new Request(file, {cache: 'reload'})));
    await self.skipWaiting();
})()));

self.addEventListener('activate', event => event.waitUntil((async () => {
    const names = await caches.keys();
    await Promise.all(names.filter(name => name.startsWith('velmorant-') && name !== NAME).map(name => caches.delete(name)));
    await self.clients.claim();
})()));

self.addEventListener('fetch', event => {
    if (event.request.method !== 'GET') return;
    event.respondWith((async () => {
        const cache = await caches.open(NAME);
        return await cache.match(event.request, {ignoreSearch: true}) ?? fetch(event.request);
    })());
});
