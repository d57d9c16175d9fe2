'use strict';

// Network first; what it answered last is kept for when it is away.
const cacheName = 'zq-v1';

self.addEventListener('install', (event) => {
  event.waitUntil(caches.open(cacheName)
    .then((cache) => cache.add('/'))
    .then(() => self.skipWaiting()));
});

self.addEventListener('activate', (event) => {
  event.waitUntil(self.clients.claim());
});

self.addEventListener('fetch', (event) => {
  const request = event.request;
  if (request.method !== 'GET') return;
  event.respondWith((async () => {
    try {
      const answer = await fetch(request);
      const copy = answer.clone();
      event.waitUntil(caches.open(cacheName).then((cache) => cache.put(request, copy))
        .catch(() => {})); // a full phone keeps nothing, and loses nothing but the offline start
      return answer;
    } catch {
      const cache = await caches.open(cacheName);
      return (await cache.match(request)) || Response.error();
    }
  })());
});
