"""HTTP figures, ours and the peers' in turn on this machine; see scripts/bench-http."""

import argparse
import os
import re
import resource
import shutil
import socket
import subprocess
import sys
import tempfile
import time

SMALL = "<!DOCTYPE html><html><head><title>small</title></head><body><p>A small page.</p></body></html>"
CONNECTIONS = (1, 64, 512)

NGINX = """
daemon off; master_process off; worker_processes 1; worker_rlimit_nofile 20000; pid {folder}/nginx.pid;
error_log {folder}/error.log;
events {{ worker_connections 15000; }}
http {{
    access_log off; sendfile on; tcp_nopush on; tcp_nodelay on; keepalive_requests 100000000; keepalive_timeout 600s;
    client_body_temp_path {folder}/b; proxy_temp_path {folder}/p; fastcgi_temp_path {folder}/f;
    uwsgi_temp_path {folder}/u; scgi_temp_path {folder}/s;
    types {{ text/html html; text/plain txt; }}
    server {{
        listen 127.0.0.1:{port} backlog=511;
        root {folder};
        location = /small {{ default_type text/html; return 200 "{small}"; }}
        location = /file {{ alias {folder}/file.txt; }}
    }}
}}
"""


class Server:
    """A server that runs for a `with` block."""

    def __init__(self, command, port=None):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.ends_with_input = port is None
        self.port = port if port is not None else int(self.process.stdout.readline())
        wait_for(self.port)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if not self.ends_with_input:
            self.process.terminate()
        self.process.stdin.close()
        try:
            self.process.wait(60)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise

    def processor_time(self):
        """Seconds that the server has worked, the system's work for it included."""
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def resident(self):
        """Bytes of memory in use."""
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as status:
            return int(re.search(r"VmRSS:\s+(\d+)", status.read()).group(1)) * 1024


def wait_for(port):
    for _ in range(200):
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except ConnectionRefusedError:
            time.sleep(0.05)
    raise RuntimeError(f"nothing listens on port {port}")


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Bench:
    def __init__(self, bin_folder, folder, seconds, rounds):
        self.bin = bin_folder
        self.folder = folder
        self.seconds = seconds
        self.rounds = rounds
        with open(f"{folder}/file.txt", "w", encoding="ascii") as file:
            file.write("0123456789abcde\n" * 4096)

    def ours(self, pause, *more):
        return Server([f"{self.bin}/http_bench_host", f"{self.folder}/file.txt", str(pause), *more])

    def nginx(self):
        port = free_port()
        with open(f"{self.folder}/nginx.conf", "w", encoding="ascii") as conf:
            conf.write(NGINX.format(folder=self.folder, port=port, small=SMALL))
        return Server(["nginx", "-p", self.folder, "-c", f"{self.folder}/nginx.conf", "-e", f"{self.folder}/error.log"], port)

    def httplib(self, threads):
        return Server([f"{self.bin}/http_bench_peer", f"{self.folder}/file.txt", str(threads)])

    def servers(self, connections):
        """What there is to measure: name and a way to start it."""
        found = [("ours", lambda: self.ours(0)), ("ours, in place", lambda: self.ours(0, "in-place")),
                 ("ours, strict", lambda: self.ours(0, "strict")),
                 ("ours, strict, in place", lambda: self.ours(0, "in-place", "strict"))]
        if shutil.which("nginx"):
            found.append(("nginx", self.nginx))
        if os.path.exists(f"{self.bin}/http_bench_peer"):
            found.append(("cpp-httplib", lambda: self.httplib(connections + 8)))
        found.append(("ours, pause 1", lambda: self.ours(1)))
        return found

    def wrk(self, server, path, connections, *headers):
        """Requests in a second, the 99th percentile in milliseconds, the server's microseconds for a request."""
        command = ["wrk", "-t1", f"-c{connections}", f"-d{self.seconds}s", "--timeout", "10s", "--latency"]
        for header in headers:
            command += ["-H", header]
        before = server.processor_time()
        out = subprocess.run(command + [f"http://127.0.0.1:{server.port}{path}"], check=True, capture_output=True,
                             text=True).stdout
        used = server.processor_time() - before
        number, unit = re.search(r"99%\s+([\d.]+)(us|ms|s)", out).groups()
        late = float(number) * {"us": 0.001, "ms": 1, "s": 1000}[unit]
        bad = re.search(r"(Socket errors: .*|Non-2xx.*)", out)
        if bad:
            print(f"   {path} at {connections}: {bad.group(1)}", flush=True)
        requests = int(re.search(r"(\d+) requests in", out).group(1))
        return float(re.search(r"Requests/sec:\s+([\d.]+)", out).group(1)), late, used * 1e6 / max(requests, 1)

    def measure(self, begin, path, connections, *headers):
        """A row for each server: the best of the rounds, which is the one that the neighbours disturbed least."""
        best = {}
        for _ in range(self.rounds):
            for name, start in self.servers(connections):
                with start() as server:
                    figures = self.wrk(server, path, connections, *headers)
                best[name] = max(best.get(name, figures), figures)
        nginx = best.get("nginx", (0,))[0]
        for name, (rate, late, used) in best.items():
            share = f"{rate / nginx:.2f}" if nginx else ""
            print(f"{begin} {name} | {rate:.0f} | {share} | {late:.2f} | {used:.0f} |", flush=True)

    def pages(self):
        print("\n| page | connections | server | requests/s | of nginx | 99 % within, ms | processor time, µs |")
        print("|---|---|---|---|---|---|---|")
        for path, name in (("/small", "small page"), ("/file", "64 KiB file")):
            for connections in CONNECTIONS:
                self.measure(f"| {name} | {connections} |", path, connections)

    def accepts(self):
        print("\n| a connection for each request | server | requests/s | of nginx | 99 % within, ms | processor time, µs |")
        print("|---|---|---|---|---|---|")
        self.measure("| 64 at a time |", "/small", 64, "Connection: close")

    def idle(self, count=10000):
        print(f"\n| {count} idle connections | server | KiB for one | answered afterwards | one asks, requests/s |\n|---|---|---|---|---|")
        for name, start in self.servers(count):
            if name == "cpp-httplib":
                continue  # A thread for each.
            with start() as server:
                before = server.resident()
                held = hold(server.port, count)
                used = (server.resident() - before) / count / 1024
                rate = self.wrk(server, "/small", 1)[0]
                answered = sum(ask(connection) for connection in held)
                for connection in held:
                    connection.close()
                print(f"| | {name} | {used:.1f} | {answered} | {rate:.0f} |", flush=True)

    def client(self):
        if not shutil.which("nginx"):
            return
        print("\n| client, server nginx | threads | requests/s | 99 % within, ms |\n|---|---|---|---|")
        for threads in (1, 8):
            for kind, name in (("ours", "client pool"), ("peer", "cpp-httplib")):
                with self.nginx() as server:
                    print(f"| {name} | {threads} | {self.ask(kind, server.port, threads)} |", flush=True)

    def ask(self, kind, port, threads):
        """The client's requests in a second and 99th percentile, of its best round."""
        best = (0, 0)
        for _ in range(self.rounds):
            out = subprocess.run([f"{self.bin}/http_bench_client", kind, str(port), str(threads), str(self.seconds)],
                                 capture_output=True, text=True, check=True).stdout
            rate, late = out.split()
            best = max(best, (int(rate), float(late) / 1000))
        return f"{best[0]} | {best[1]:.2f}"


REQUEST = b"GET /small HTTP/1.1\r\nHost: idle\r\n\r\n"


def ask(connection):
    """1 when the connection still gets a response."""
    connection.settimeout(60)
    try:
        connection.sendall(REQUEST)
        return int(connection.recv(65536).startswith(b"HTTP/1.1 200"))
    except OSError:
        return 0


def hold(port, count):
    """Connections that have had one answer each."""
    held = []
    for _ in range(count):
        connection = socket.create_connection(("127.0.0.1", port), timeout=60)
        if ask(connection) != 1:
            raise RuntimeError(f"connection {len(held)} got no answer")
        held.append(connection)
    return held


def main():
    parts = ("pages", "accepts", "idle", "client")
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", default="build/linux/bin")
    parser.add_argument("--seconds", type=int, default=3)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("part", nargs="*", help=" ".join(parts))
    arguments = parser.parse_args()
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    with open("/proc/loadavg", encoding="ascii") as load:
        print(f"processors: {os.cpu_count()}, load: {load.read().split()[0]}", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(arguments.bin, folder, arguments.seconds, arguments.rounds)
        for part in arguments.part or parts:
            getattr(bench, part)()


if __name__ == "__main__":
    sys.exit(main())
