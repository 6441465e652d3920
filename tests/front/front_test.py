"""Tests a server in strict mode with curl, and behind nginx with the shapes of tests/net/smuggling.txt.

    front_test.py FRONT_HOST SMUGGLING.TXT RESULTS.XML

The tests of a program that is not installed are skipped with a message.
"""

import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import test_results

FRONT_HOST, SMUGGLING, RESULTS = sys.argv[1:4]
ENVIRONMENT = {**os.environ, "http_proxy": "", "https_proxy": "", "all_proxy": "", "no_proxy": "*"}


def unescaped(text):
    """The bytes of a shape: \\r, \\n, \\t and \\xNN stand for bytes."""
    plain = {"r": b"\r", "n": b"\n", "t": b"\t"}
    return re.sub(rb"\\(?:x([0-9a-f]{2})|([rnt]))",
                  lambda m: bytes([int(m[1], 16)]) if m[1] else plain[m[2].decode()], text)


def shapes():
    with open(SMUGGLING, "rb") as table:
        lines = [line.rstrip(b"\n") for line in table if line.strip() and not line.startswith(b"#")]
    return [(name.decode(), statuses.decode(), unescaped(text))
            for name, statuses, text in (line.split(b" | ", 2) for line in lines)]


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_for(port):
    for _ in range(400):
        try:
            socket.create_connection(("127.0.0.1", port)).close()
            return
        except OSError:
            time.sleep(0.05)
    raise RuntimeError(f"nothing listens on port {port}")


def receive(port, request, quiet=0.12):
    """Sends a request and returns all bytes until the server ends the stream or stays quiet."""
    with socket.create_connection(("127.0.0.1", port)) as client:
        client.settimeout(10)
        answer = b""
        try:
            client.sendall(request)
            while True:
                piece = client.recv(65536)
                if not piece:
                    break
                answer += piece
                client.settimeout(quiet)
        except (TimeoutError, ConnectionError):
            pass
    return answer


class Host:
    """A server in strict mode."""

    def __init__(self, folder, *arguments):
        self.log = os.path.join(folder, f"host-{time.monotonic_ns()}.log")
        self._process = subprocess.Popen([FRONT_HOST, self.log, *arguments], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True)
        line = self._process.stdout.readline()
        self.port = int(line) if line else 0

    def end(self):
        self._process.stdin.close()
        self._process.stdout.close()
        return self._process.wait(60)


class FrontTest(unittest.TestCase):
    program = None

    @classmethod
    def setUpClass(cls):
        if shutil.which(cls.program) is None:
            raise unittest.SkipTest(f"{cls.program} is not installed")

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="qz-front-")
        self.addCleanup(lambda: shutil.rmtree(self.folder, ignore_errors=True))

    def start(self, *arguments):
        host = Host(self.folder, *arguments)
        self.addCleanup(lambda: self.assertEqual(host.end(), 0 if host.port else 1, "exit code of the host"))
        return host


class CurlTest(FrontTest):
    program = "curl"

    def curl(self, *arguments, body=None):
        done = subprocess.run(["curl", "--silent", "--show-error", "--max-time", "60", *arguments], input=body,
                              capture_output=True, check=False, timeout=120, env=ENVIRONMENT)
        return done.stdout, done.stderr.decode(errors="replace")

    def url(self, host, path):
        return f"http://127.0.0.1:{host.port}{path}"

    def test_uploads_in_chunks_arrive_unchanged(self):
        host = self.start()
        body = bytes(i * 7 % 251 for i in range(3_000_000))
        answer, trace = self.curl("-v", "-T", "-", self.url(host, "/echo"), body=body)
        self.assertIn("Transfer-Encoding: chunked", trace)
        self.assertEqual(answer, body)

    def test_waits_for_100_continue_and_gets_it(self):
        host = self.start()
        body = b"x" * 5000
        answer, trace = self.curl("-v", "--expect100-timeout", "50", "-H", "Expect: 100-continue", "--data-binary",
                                  "@-", self.url(host, "/echo"), body=body)
        self.assertIn("HTTP/1.1 100 Continue", trace)
        self.assertEqual(answer, body)

    def test_refused_upload_is_not_sent(self):
        host = self.start()
        large = os.path.join(self.folder, "large")
        with open(large, "wb") as file:
            file.truncate(20 << 20)
        _, trace = self.curl("-v", "--expect100-timeout", "50", "-H", "Expect: 100-continue", "-T", large,
                             self.url(host, "/echo"))
        self.assertIn("HTTP/1.1 413 Content Too Large", trace)
        self.assertNotIn("100 Continue", trace)

    def test_head_has_the_head_of_get(self):
        host = self.start()
        head, _ = self.curl("--head", self.url(host, "/page"))
        full, _ = self.curl("--include", self.url(host, "/page"))
        self.assertEqual(full.split(b"\r\n\r\n")[0] + b"\r\n\r\n", head)
        self.assertIn(b"Content-Length: 22", head)

    def test_methods_that_are_not_served_get_405_with_allow(self):
        host = self.start()
        answer, _ = self.curl("--include", "-X", "TRACE", self.url(host, "/"))
        self.assertIn(b"HTTP/1.1 405 Method Not Allowed", answer)
        self.assertIn(b"Allow: GET, HEAD, POST, PUT, PATCH, DELETE, OPTIONS\r\n", answer)

    def test_uses_one_connection_for_several_requests(self):
        host = self.start()
        answer, trace = self.curl("-v", self.url(host, "/one"), self.url(host, "/two"))
        self.assertEqual(answer, b"GET /one 0 127.0.0.1\nGET /two 0 127.0.0.1\n")
        self.assertIn("Re-using existing connection", trace)

    def test_http_1_0_closes(self):
        host = self.start()
        answer, _ = self.curl("--http1.0", "--include", self.url(host, "/"))
        self.assertIn(b"Connection: close\r\n", answer)

    def test_paths_that_go_up_are_refused(self):
        host = self.start()
        for path, expected in (("/../x", b"403"), ("/%2e%2e/x", b"403"), ("/a/..%5cx", b"403"), ("/%00", b"400")):
            status, _ = self.curl("--path-as-is", "-o", os.devnull, "-w", "%{http_code}", self.url(host, path))
            self.assertEqual(status, expected, path)

    def test_ipv6_clients_are_served(self):
        if not socket.has_ipv6 or not os.path.exists("/proc/net/if_inet6"):
            self.skipTest("this system has no IPv6")
        for arguments, names in (([("::1")], {"[::1]": "::1"}),
                                 (["::", "both"], {"[::1]": "::1", "127.0.0.1": "127.0.0.1"})):
            host = self.start(*arguments)
            for name, text in names.items():
                answer, _ = self.curl("-g", f"http://{name}:{host.port}/six")
                self.assertEqual(answer, f"GET /six 0 {text}\n".encode())
        alone = self.start("::")
        self.assertEqual(self.curl(f"http://127.0.0.1:{alone.port}/")[0], b"", "IPv4 was not asked for")


NGINX = """
daemon off; master_process off; pid {folder}/nginx.pid; error_log {folder}/error.log;
events {{ worker_connections 200; }}
http {{
    log_format seen '$status\t$upstream_addr\t$upstream_status\t$request_method $request_uri';
    client_body_temp_path {folder}/b; proxy_temp_path {folder}/p; fastcgi_temp_path {folder}/f;
    uwsgi_temp_path {folder}/u; scgi_temp_path {folder}/s;
    proxy_http_version 1.1; proxy_set_header Connection ""; proxy_next_upstream off;
    {servers}
}}
"""
# The second kind of proxy passes on as much as it can as it came, and does not wait for the body.
SERVER = """
    upstream host{port} {{ server 127.0.0.1:{target}; keepalive 4; }}
    server {{
        listen 127.0.0.1:{port}; access_log {folder}/{port}.log seen; {settings}
        location / {{ proxy_pass http://host{port}; }}
    }}
"""
LOOSE = "ignore_invalid_headers off; underscores_in_headers on; merge_slashes off; proxy_request_buffering off;"


class NginxTest(FrontTest):
    program = "nginx"
    LANES = 6

    def start_proxy(self, settings, *arguments):
        """One proxy with a port for each host."""
        hosts = [self.start(*arguments) for _ in range(self.LANES)]
        ports = [free_port() for _ in hosts]
        servers = "".join(SERVER.format(port=port, target=host.port, folder=self.folder, settings=settings)
                          for port, host in zip(ports, hosts))
        path = os.path.join(self.folder, "nginx.conf")
        with open(path, "w", encoding="ascii") as config:
            config.write(NGINX.format(folder=self.folder, servers=servers))
        process = subprocess.Popen(["nginx", "-p", self.folder, "-c", path], stderr=subprocess.DEVNULL)

        def end():
            process.terminate()
            process.wait(60)
        self.addCleanup(end)
        for port in ports:
            wait_for(port)
        return list(zip(ports, hosts))

    @staticmethod
    def lines(path, start):
        with open(path, encoding="latin-1") as log:
            return log.read().splitlines()[start:]

    def compare(self, port, host, shape, counts):
        """Sends one shape. Returns what is wrong with the result, or None."""
        name, _, request = shape
        log = os.path.join(self.folder, f"{port}.log")
        proxy_start, host_start = len(self.lines(log, 0)), len(self.lines(host.log, 0))
        receive(port, request)
        # The client has gone, so everything ends.
        for _ in range(40):
            time.sleep(0.03)
            seen = [line.split("\t") for line in self.lines(log, proxy_start)]
            if seen and len(self.lines(host.log, host_start)) >= sum(line[2].isdigit() for line in seen):
                break
        # A request too many would come after the others.
        time.sleep(0.05)
        seen = [line.split("\t") for line in self.lines(log, proxy_start)]
        forwarded = [line for line in seen if line[1] not in ("", "-")]
        answered = all(line[2].isdigit() for line in forwarded)
        ours = self.lines(host.log, host_start)
        counts["forwarded"] += len(forwarded)
        counts["ours"] += len(ours)
        if answered and len(ours) != len(forwarded) or len(ours) > len(forwarded):
            return f"{name}: nginx forwarded {forwarded}, the host saw {ours}"
        # Two requests come to the host on two connections, so its lines have no order.
        left = [line[3] for line in forwarded]
        for run in ours:
            if run.startswith("refused"):
                continue
            if run not in left:
                return f"{name}: nginx forwarded {forwarded}, the host saw {ours}"
            left.remove(run)
        smuggled = sum("/smuggled" in line for line in ours)
        if smuggled > sum("/smuggled" in line[3] for line in forwarded):
            return f"{name}: the host ran a request that nginx did not forward"
        return None

    def run_shapes(self, settings, *arguments):
        """Returns what is wrong, and the numbers of requests."""
        table = shapes()
        self.assertGreaterEqual(len(table), 60)
        lanes = self.start_proxy(settings, *arguments)
        wrong, counts = [], {"forwarded": 0, "ours": 0}

        def work(lane):
            port, host = lanes[lane]
            for shape in table[lane::len(lanes)]:
                trouble = self.compare(port, host, shape, counts)
                if trouble:
                    wrong.append(trouble)
        threads = [threading.Thread(target=work, args=(lane,)) for lane in range(len(lanes))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        print(f"{len(table)} shapes: nginx forwarded {counts['forwarded']} requests, the hosts saw {counts['ours']}")
        return wrong, counts

    def agree(self, settings):
        wrong, counts = self.run_shapes(settings)
        self.assertEqual(wrong, [])
        self.assertGreater(counts["ours"], 50, "requests passed the proxy")

    def test_host_behind_nginx_sees_the_requests_that_nginx_forwards(self):
        self.agree("")

    def test_host_behind_a_loose_nginx_sees_the_requests_that_nginx_forwards(self):
        self.agree(LOOSE)

    def test_host_without_strict_mode_disagrees(self):
        """The comparison finds what it looks for."""
        wrong, _ = self.run_shapes(LOOSE, "127.0.0.1", "kept")
        self.assertNotEqual(wrong, [])


if __name__ == "__main__":
    sys.exit(test_results.run(sys.modules[__name__], "front", RESULTS))
