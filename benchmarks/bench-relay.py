#!/usr/bin/env python3
"""A long line on loopback: passes connections on to a server and gives back what it answers a given
time later, in order and as fast as it came.

usage: bench-relay.py PORT SERVER-PORT MILLISECONDS
"""

import asyncio
import sys

PORT, SERVER_PORT, DELAY_S = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3]) / 1000


async def to_server(reader, writer):
    while data := await reader.read(65536):
        writer.write(data)
    writer.close()


async def to_client(reader, writer):
    loop = asyncio.get_running_loop()
    while data := await reader.read(65536):
        loop.call_later(DELAY_S, writer.write, data)
    loop.call_later(DELAY_S, writer.close)


async def connect(reader, writer):
    server_reader, server_writer = await asyncio.open_connection("127.0.0.1", SERVER_PORT)
    await asyncio.gather(to_server(reader, server_writer), to_client(server_reader, writer),
                         return_exceptions=True)


async def main():
    async with await asyncio.start_server(connect, "127.0.0.1", PORT) as server:
        await server.serve_forever()


asyncio.run(main())
