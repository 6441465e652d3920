"""Many requests over connections that come and go, and what the server holds before and after; see scripts/soak-http."""

import argparse
import json
import os
import re
import socket
import subprocess
import sys
import tempfile
import threading
import time

CLIENTS = 16
FOR_ONE = 10  # requests of a connection
FILE_SIZE = 65536


class Soaked:
    """The server, as the system and as its own page report it."""

    def __init__(self, program, file):
        self.process = subprocess.Popen([program, file, "0"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline())

    def counts(self):
        folder = f"/proc/{self.process.pid}"
        with open(f"{folder}/status", encoding="ascii") as status:
            text = status.read()
        with socket.create_connection(("127.0.0.1", self.port), timeout=60) as connection:
            inside = json.loads(exchange(connection, "/counts", "close"))
            # The connection that asks is one of them, and its descriptor too.
            descriptors = len(os.listdir(f"{folder}/fd"))
        found = {"descriptors": descriptors, "threads": int(re.search(r"Threads:\s+(\d+)", text).group(1)),
                 "resident memory, KiB": int(re.search(r"VmRSS:\s+(\d+)", text).group(1))}
        cached = inside.pop("cached")
        return {**found, **inside, **{f"idle in {name}": count for name, count in cached.items()}}

    def at_rest(self):
        """The counts when no connection is left but the one that asks."""
        end = time.monotonic() + 60
        while True:
            counts = self.counts()
            if counts["connections"] <= 1 and counts["close wait"] == 0 or time.monotonic() > end:
                return counts
            time.sleep(0.5)

    def end(self):
        self.process.stdin.close()
        return self.process.wait(60)


def exchange(connection, path, mode="keep-alive"):
    """The body of a page; None when the connection broke."""
    connection.sendall(f"GET {path} HTTP/1.1\r\nHost: soak\r\nConnection: {mode}\r\n\r\n".encode())
    got = b""
    while b"\r\n\r\n" not in got:
        more = connection.recv(65536)
        if not more:
            return None
        got += more
    head, _, body = got.partition(b"\r\n\r\n")
    if not head.startswith(b"HTTP/1.1 200"):
        return None
    size = int(re.search(rb"Content-Length: *(\d+)", head).group(1))
    pieces, left = [body], size - len(body)
    while left > 0:
        more = connection.recv(min(left, 65536))
        if not more:
            return None
        pieces.append(more)
        left -= len(more)
    return b"".join(pieces)


class Client(threading.Thread):
    """Connections one after another. One in four is broken off in the middle of a request, the others end in good order."""

    def __init__(self, port, requests):
        super().__init__()
        self.port = port
        self.left = requests
        self.answered = self.connections = self.broken = self.wrong = 0

    def run(self):
        while self.left > 0:
            with socket.create_connection(("127.0.0.1", self.port), timeout=120) as connection:
                self.connections += 1
                self.use(connection)

    def use(self, connection):
        count = min(FOR_ONE, self.left)
        for i in range(count):
            path, size = ("/file", FILE_SIZE) if i % 5 == 4 else ("/small", None)
            last = i == count - 1 and self.connections % 2 == 0
            body = exchange(connection, path, "close" if last else "keep-alive")
            if not body or size not in (None, len(body)):
                self.wrong += 1
            self.answered += 1
        self.left -= count
        if self.connections % 4 == 1:
            connection.sendall(b"GET /small HTTP/1.1\r\nHo")
            self.broken += 1


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", default="build/linux/bin")
    parser.add_argument("requests", type=int, nargs="?", default=100000)
    arguments = parser.parse_args()
    with tempfile.NamedTemporaryFile(suffix=".txt") as file:
        file.write(b"0123456789abcde\n" * (FILE_SIZE // 16))
        file.flush()
        server = Soaked(f"{arguments.bin}/http_bench_host", file.name)
        rows = [("at first", server.at_rest())]
        start = time.monotonic()
        for name in ("after half", "after all"):
            clients = [Client(server.port, arguments.requests // 2 // CLIENTS) for _ in range(CLIENTS)]
            for client in clients:
                client.start()
            for client in clients:
                client.join()
            rows.append((name, server.at_rest()))
            totals = {what: sum(getattr(client, what) for client in clients)
                      for what in ("answered", "connections", "broken", "wrong")}
            print(f"{name}: {totals}, {time.monotonic() - start:.0f} s", flush=True)
            if totals["wrong"]:
                return 1
        print("\n| | " + " | ".join(name for name, _ in rows) + " |\n|---" + "|---" * len(rows) + "|")
        for what in rows[0][1]:
            print(f"| {what} | " + " | ".join(str(counts[what]) for _, counts in rows) + " |")
        code = server.end()
        print(f"exit code {code}")
        # What the second half adds to the first would be added by every further half.
        grown = [what for what in ("descriptors", "connections", "close wait") if rows[2][1][what] > rows[1][1][what]]
        if grown:
            print(f"grew: {grown}")
        return 1 if code or grown else 0


if __name__ == "__main__":
    sys.exit(main())
