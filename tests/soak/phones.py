"""Phones at the paired server, good and bad ones: Phones(port, photos) keeps all of them busy until close()."""

import asyncio
import random
import socket
import struct
import threading
from collections import Counter

PAGES = {"/": b"<html", "/pair": b"<html", "/manifest.json": b'"name"', "/sw.js": b"addEventListener"}
PATIENCE = 60
MOST_UPLOAD = 52_428_800


def head(length):
    return f"POST /upload HTTP/1.1\r\nHost: phone\r\nContent-Length: {length}\r\n\r\n".encode()


class Phones:
    def __init__(self, port, photos, seed, pause):
        self.port = port
        self.photos = photos
        self.random = random.Random(seed)
        self.pause = pause
        self.counts = Counter()
        self.failures = []
        self.loop = asyncio.new_event_loop()
        self.thread = threading.Thread(target=self.loop.run_until_complete, args=(self.work(),))
        self.closing = asyncio.Event()
        self.thread.start()

    def close(self):
        self.loop.call_soon_threadsafe(self.closing.set)
        self.thread.join()

    async def work(self):
        # What each does, and its pauses: recognition takes longer than all the rest.
        kinds = [(self.page, 1), (self.page, 1), (self.photo, 5), (self.broken, 1), (self.broken, 1), (self.slow, 1),
                 (self.crowd, 20)]
        workers = [asyncio.ensure_future(self.repeat(kind, pauses)) for kind, pauses in kinds]
        await self.closing.wait()
        for worker in workers:
            worker.cancel()
        await asyncio.gather(*workers, return_exceptions=True)

    async def repeat(self, kind, pauses):
        while True:
            try:
                await asyncio.wait_for(kind(), PATIENCE)
                self.counts[kind.__name__] += 1
            except (OSError, AssertionError, asyncio.IncompleteReadError, asyncio.TimeoutError) as error:
                self.failures.append(f"{kind.__name__}: {error!r}")
            await asyncio.sleep(self.random.expovariate(1 / (pauses * self.pause)))

    async def connect(self):
        return await asyncio.open_connection("127.0.0.1", self.port)

    async def ask(self, request, *more):
        """The whole answer to a request that is sent at once."""
        reader, writer = await self.connect()
        try:
            for part in (request, *more):
                writer.write(part)
                await writer.drain()
            return await reader.read()
        finally:
            writer.close()

    async def page(self):
        path, mark = self.random.choice(list(PAGES.items()))
        answer = await self.ask(f"GET {path} HTTP/1.1\r\nHost: phone\r\n\r\n".encode())
        assert answer.startswith(b"HTTP/1.1 200") and mark in answer, f"{path}: {answer[:80]}"

    async def photo(self):
        photo = self.random.choice(self.photos)
        answer = await self.ask(head(len(photo)), photo)
        assert answer.startswith(b"HTTP/1.1 200"), answer[:80]

    async def broken(self):
        """What may end in any way, but only for its sender."""
        photo = self.random.choice(self.photos)
        part = photo[:self.random.randrange(len(photo))]
        request = self.random.choice((
            head(len(photo)) + part, head(MOST_UPLOAD + 1) + part, head(-7) + part, head(len(part)) + part,
            b"POST /upl", b"PUT /upload HTTP/1.1\r\n\r\n", self.random.randbytes(70_000),
            b"GET / HTTP/1.1\r\n" + b"X: y\r\n" * 20_000, b""))
        try:
            _, writer = await self.connect()
            writer.write(request)
            if self.random.random() < 0.5:
                writer.get_extra_info("socket").setsockopt(
                    socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            await asyncio.sleep(self.random.random())
            writer.transport.abort()
        except ConnectionError:
            pass

    async def slow(self):
        """Sends a photo by drops until the server has enough of it."""
        _, writer = await self.connect()
        try:
            writer.write(head(MOST_UPLOAD))
            for _ in range(self.random.randrange(30)):
                writer.write(bytes(self.random.randrange(1, 2000)))
                await writer.drain()
                await asyncio.sleep(0.5)
        except ConnectionError:
            pass
        finally:
            writer.transport.abort()

    async def crowd(self):
        """More connections than the server keeps, and a page for somebody else all the same."""
        writers = []
        try:
            for _ in range(600):
                try:
                    _, writer = await self.connect()
                    writers.append(writer)
                except ConnectionError:
                    pass
            await self.page()
        finally:
            for writer in writers:
                writer.transport.abort()
