#!/usr/bin/python3
"""A stand-in of the tracking service, on loopback, that also misbehaves on request.

Prints one line of JSON (the addresses of its listeners, the file of its test authority), then serves
until its standard input ends. What it answers is named by the shipment number of a request, else by
the path: a document of tracking_documents.py or update_feeds.py, or a behaviour below. "NAME after
SECONDS" delays it.
"""

import asyncio
import functools
import gzip
import json
import logging
import re
import resource
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

import h2.config
import h2.connection
import h2.events
from tracking_documents import DOCUMENTS, SOAP
from update_feeds import FEEDS

NUMBER = re.compile(rb"<sled:numer>(.*?)</sled:numer>", re.S)
recorded = b""
connections = 0
open_now = 0
open_most = 0
addresses = {}


def wanted(method, path, body):
    """The name that a request asks for and the delay before the answer."""
    number = NUMBER.search(body)
    text = number.group(1).decode() if number else path.split("/")[-1].replace("%20", " ")
    name, _, seconds = text.partition(" after ")
    return name, float(seconds or 0)


def document(name):
    if name in DOCUMENTS:
        return DOCUMENTS[name]
    if name in FEEDS:
        return FEEDS[name]
    if name == "recorded":
        return 200, "application/octet-stream", recorded
    if name == "statistics":
        return 200, "application/json", json.dumps(
            {"connections": connections, "most": open_most}).encode()
    return DOCUMENTS["delivered"]  # any other number


def head(status, kind, length, *more):
    return "\r\n".join([f"HTTP/1.1 {status} Answer", f"Content-Type: {kind}",
                        f"Content-Length: {length}", *more, "", ""]).encode()


# Behaviours in the clear text of HTTP/1.1: each writes what it wants; true keeps the connection.

async def pour(writer, data):
    """So much that it is endless for a client that reads what it can bear."""
    for _ in range(2000):
        if writer.is_closing():
            return
        writer.write(data)
        await writer.drain()
        await asyncio.sleep(0)  # a TLS writer whose client has gone would hold up the others


async def silent(reader, writer):
    await asyncio.sleep(3600)


async def half(reader, writer):
    status, kind, body = DOCUMENTS["delivered"]
    writer.write(head(status, kind, len(body)) + body[:len(body) // 2])
    await writer.drain()
    await asyncio.sleep(3600)


async def cut(reader, writer):
    status, kind, body = DOCUMENTS["delivered"]
    writer.write(head(status, kind, len(body)) + body[:len(body) // 2])
    await writer.drain()


async def reset(reader, writer):
    writer.get_extra_info("socket").setsockopt(
        socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    writer.transport.abort()


async def close(reader, writer):
    pass


async def garbage(reader, writer):
    writer.write(b"\x00\x01 no HTTP at all \xff\r\n\r\n" * 4)
    await writer.drain()


async def endless(reader, writer):
    writer.write(b"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n\r\n")
    await pour(writer, b"<ax21:zdarzenie>" * 4096)


async def headers(reader, writer):
    writer.write(b"HTTP/1.1 200 OK\r\n")
    await pour(writer, b"X-More: and more\r\n" * 1000)


async def drip(reader, writer):
    writer.write(head(200, SOAP, 100000))
    while not writer.is_closing():
        writer.write(b" ")
        await writer.drain()
        await asyncio.sleep(0.05)


def zipped(make):
    made = functools.cache(make)

    async def behave(reader, writer):
        writer.write(head(200, SOAP, len(made()), "Content-Encoding: gzip") + made())
        return True
    return behave


def moved(status, location):
    async def behave(reader, writer):
        writer.write(head(status, SOAP, 0, "Location: " + location.format(**addresses)))
        return True
    return behave


BEHAVIOURS = {name: globals()[name] for name in (
    "silent half cut reset close garbage endless headers drip").split()} | {
    "bomb": zipped(lambda: gzip.compress(bytes(40_000_000), 1)),
    "zipped": zipped(lambda: gzip.compress(DOCUMENTS["delivered"][2])),
    "flood": zipped(lambda: gzip.compress(DOCUMENTS["flood"][2])),
    "badzip": zipped(lambda: b"no gzip.."),
    "loop": moved(307, "/loop"),
    "moved302": moved(302, "/open"),
    "downgrade": moved(307, "{http}open"),
    "nowhere": moved(302, "http://[1"),
    "elsewhere": moved(302, "file:///etc/passwd"),
}


async def serve_http1(reader, writer):
    global recorded
    while True:
        request = await reader.readuntil(b"\r\n\r\n")
        length = re.search(rb"(?i)\r\ncontent-length: *(\d+)", request)
        body = await reader.readexactly(int(length.group(1))) if length else b""
        method, path, _ = request.split(b"\r\n")[0].decode().split(" ")
        name, delay = wanted(method, path, body)
        if name not in ("recorded", "statistics"):
            recorded = request + body
        await asyncio.sleep(delay)
        if name == "moved307":  # the number comes along: the path tells the second request
            behave = moved(307, "/whatever") if path == "/service" else None
            name = "pickedup"
        else:
            behave = BEHAVIOURS.get(name)
        if behave:
            if not await behave(reader, writer):
                return
        else:
            status, kind, answer = document(name)
            writer.write(head(status, kind, len(answer)) + answer)
        await writer.drain()


async def serve_http2(reader, writer):
    connection = h2.connection.H2Connection(
        h2.config.H2Configuration(client_side=False, header_encoding="utf-8"))
    connection.initiate_connection()
    writer.write(connection.data_to_send())
    streams = {}
    window = asyncio.Event()

    async def answer(stream):
        fields, body = streams.pop(stream)
        name, delay = wanted(fields[":method"], fields[":path"], bytes(body))
        await asyncio.sleep(delay)
        if name == "reset":
            connection.reset_stream(stream)
        else:
            status, kind, content = document(name)
            connection.send_headers(stream, [(":status", str(status)), ("content-type", kind)])
            while content:
                room = min(connection.local_flow_control_window(stream),
                           connection.max_outbound_frame_size)
                if room == 0:
                    window.clear()
                    await window.wait()
                connection.send_data(stream, content[:room])
                content = content[room:]
                writer.write(connection.data_to_send())
            connection.end_stream(stream)
        writer.write(connection.data_to_send())

    tasks = set()
    while data := await reader.read(65536):
        for event in connection.receive_data(data):
            if isinstance(event, h2.events.RequestReceived):
                streams[event.stream_id] = (dict(event.headers), bytearray())
            elif isinstance(event, h2.events.DataReceived):
                streams[event.stream_id][1].extend(event.data)
                connection.acknowledge_received_data(
                    event.flow_controlled_length, event.stream_id)
            elif isinstance(event, h2.events.StreamEnded):
                task = asyncio.ensure_future(answer(event.stream_id))
                tasks.add(task)
                task.add_done_callback(tasks.discard)
            elif isinstance(event, h2.events.WindowUpdated):
                window.set()
        writer.write(connection.data_to_send())
        await writer.drain()


def hesitant(context):
    """Serves TLS, but keeps the first connection waiting for it."""
    first = True

    async def accept(reader, writer):
        nonlocal first
        if first:
            first = False
            await asyncio.sleep(3600)
        await writer.start_tls(context)
        await serve(reader, writer)
    return accept


async def greet(reader, writer):
    """As a server that speaks no TLS."""
    writer.write(b"220 ready\r\n")
    writer.close()


async def serve(reader, writer):
    global connections, open_now, open_most
    connections += 1
    open_now += 1
    open_most = max(open_most, open_now)
    tls = writer.get_extra_info("ssl_object")
    try:
        multiplexes = tls and tls.selected_alpn_protocol() == "h2"
        await (serve_http2 if multiplexes else serve_http1)(reader, writer)
    except (ConnectionError, asyncio.IncompleteReadError, ssl.SSLError):
        pass  # the client has gone
    finally:
        open_now -= 1
        writer.close()


def openssl(*arguments):
    subprocess.run(["openssl", *map(str, arguments)], check=True, capture_output=True)


def make_certificates(folder):
    """An authority, and certificates: a good one, one for another host, one that is over, and one
    of an authority that nobody knows."""
    key = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes")
    for authority in ("authority", "unknown-authority"):
        openssl("req", "-x509", *key, "-keyout", folder / f"{authority}.key", "-out",
                folder / f"{authority}.pem", "-days", 2, "-subj", "/CN=Test authority")
    for name, host, days, authority in (("good", "localhost", 2, "authority"),
                                        ("other-host", "example.test", 2, "authority"),
                                        ("expired", "localhost", -1, "authority"),
                                        ("stranger", "localhost", 2, "unknown-authority")):
        names = folder / f"{name}.names"
        names.write_text(f"subjectAltName=DNS:{host}"
                         + (",IP:127.0.0.1" if host == "localhost" else ""))
        openssl("req", "-new", *key, "-keyout", folder / f"{name}.key", "-out",
                folder / f"{name}.csr", "-subj", f"/CN={host}")
        openssl("x509", "-req", "-in", folder / f"{name}.csr", "-CA", folder / f"{authority}.pem",
                "-CAkey", folder / f"{authority}.key", "-CAcreateserial", "-days", days,
                "-extfile", names, "-out", folder / f"{name}.pem")


def tls_context(folder, name, *protocols):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(folder / f"{name}.pem", folder / f"{name}.key")
    context.set_alpn_protocols(protocols)
    return context


async def main(folder):
    logging.getLogger("asyncio").setLevel(logging.CRITICAL)  # clients that go are no news
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    make_certificates(folder)
    contexts = {"http": None,
                "https": tls_context(folder, "good", "http/1.1"),
                "http2": tls_context(folder, "good", "h2", "http/1.1"),
                "otherHost": tls_context(folder, "other-host", "http/1.1"),
                "expired": tls_context(folder, "expired", "http/1.1"),
                "stranger": tls_context(folder, "stranger", "http/1.1")}
    ready = {"authority": str(folder / "authority.pem")}
    for name, context in contexts.items():
        server = await asyncio.start_server(serve, "127.0.0.1", 0, ssl=context, backlog=4096)
        scheme = "https" if context else "http"
        ready[name] = f"{scheme}://localhost:{server.sockets[0].getsockname()[1]}/"
    for name, accept in (("hesitant", hesitant(contexts["https"])), ("greeter", greet)):
        server = await asyncio.start_server(accept, "127.0.0.1", 0, backlog=4096)
        ready[name] = f"https://localhost:{server.sockets[0].getsockname()[1]}/"
    addresses.update(ready)
    print(json.dumps(ready), flush=True)
    loop_now = asyncio.get_running_loop()
    await loop_now.run_in_executor(None, sys.stdin.buffer.read)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as temporary:
        asyncio.run(main(Path(temporary)))
