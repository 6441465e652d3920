"""Tests HTTP servers of this library with widely used clients and a proxy: curl, Chromium and haproxy.

    peers_test.py HTTP_FILES PEER_HOST SCALING.MD RESULTS.XML

The tests of a program that is not installed are skipped with a message. The proxy runs the configuration from
docs/scaling.md, with other ports.
"""

import http.client
import json
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "support"))
import test_results

HTTP_FILES, PEER_HOST, SCALING, RESULTS = sys.argv[1:5]


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def eventually(condition, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.05)
    return True


def listens(port):
    try:
        socket.create_connection(("127.0.0.1", port)).close()
        return True
    except OSError:
        return False


class Host:
    """A program that prints its port and runs until its input ends."""

    def __init__(self, *command):
        self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self._process.stdout.readline())

    def end(self):
        """Ends the program and returns its exit code; may be called again."""
        self._process.stdin.close()
        self._process.stdout.close()
        return self._process.wait(60)


class PeerTest(unittest.TestCase):
    program = None

    @classmethod
    def setUpClass(cls):
        if cls.program is not None and shutil.which(cls.program) is None:
            raise unittest.SkipTest(f"{cls.program} is not installed")

    def start(self, *command):
        host = Host(*command)
        self.addCleanup(lambda: self.assertEqual(host.end(), 0, "exit code of the host"))
        return host

    def folder(self):
        folder = tempfile.mkdtemp(prefix="qz-peers-")
        self.addCleanup(lambda: shutil.rmtree(folder, ignore_errors=True))
        return folder


def run(*command, seconds=120):
    return subprocess.run(command, check=True, capture_output=True, timeout=seconds)


class CurlTest(PeerTest):
    program = "curl"

    def curl(self, *arguments):
        return run("curl", "-sS", "--max-time", "100", "--noproxy", "*", *arguments)

    def test_gets_a_file_from_the_file_server_unchanged(self):
        folder = self.folder()
        os.mkdir(f"{folder}/site")
        content = bytes(range(256)) * 4096
        with open(f"{folder}/site/a.png", "wb") as file:
            file.write(content)
        with open(f"{folder}/sites.json", "w", encoding="ascii") as file:
            json.dump([{"Host": "here", "SiteStatus": "Local", "PhyLocation": f"{folder}/site", "IndexPage": "a.png"}], file)
        host = self.start(HTTP_FILES, "0", f"{folder}/sites.json")
        url = f"http://127.0.0.1:{host.port}/"
        got = self.curl("-H", "Host: here", "-w", "%{stderr}%{http_code} %{content_type}", url + "a.png")
        self.assertEqual(got.stdout, content)
        self.assertEqual(got.stderr, b"200 image/png")
        missing = self.curl("-H", "Host: here", "-o", "/dev/null", "-w", "%{http_code}", url + "b.png")
        self.assertEqual(missing.stdout, b"404")

    def test_uses_one_connection_for_all_requests(self):
        host = self.start(PEER_HOST, "a")
        url = f"http://127.0.0.1:{host.port}/who"
        got = self.curl("-w", "%{num_connects}\n", *[url] * 5)
        self.assertEqual(got.stdout, b"a\n1\n" + b"a\n0\n" * 4)

    def test_closes_the_connection_when_the_client_asks(self):
        host = self.start(PEER_HOST, "a")
        url = f"http://127.0.0.1:{host.port}/who"
        got = self.curl("-w", "%{num_connects}\n", "-H", "Connection: close", url, url)
        self.assertEqual(got.stdout, b"a\n1\n" * 2)

    def test_sends_bodies_and_receives_them_unchanged(self):
        host = self.start(PEER_HOST, "a")
        file = f"{self.folder()}/body"
        for size in (0, 1, 4096, 131072, 131073, 3000000):
            with open(file, "wb") as body:
                body.write((b"0123456789abcdef" * (size // 16 + 1))[:size])
            # curl announces large bodies with "Expect". The server does not answer it; curl continues anyway.
            got = self.curl("--data-binary", f"@{file}", f"http://127.0.0.1:{host.port}/echo")
            with open(file, "rb") as body:
                self.assertEqual(got.stdout, body.read(), f"{size} bytes")

    def test_supports_http_1_0(self):
        host = self.start(PEER_HOST, "a")
        got = self.curl("--http1.0", f"http://127.0.0.1:{host.port}/who")
        self.assertEqual(got.stdout, b"a\n")

    def test_gets_many_pages_in_parallel(self):
        host = self.start(PEER_HOST, "a")
        got = self.curl("--parallel", "--parallel-max", "40", f"http://127.0.0.1:{host.port}/who?[1-200]")
        self.assertEqual(got.stdout, b"a\n" * 200)


class ChromiumTest(PeerTest):
    program = "chromium"

    def test_runs_a_page_whose_script_sends_requests(self):
        host = self.start(PEER_HOST, "a")
        page = run("chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                   "--disable-background-networking", "--disable-component-update", "--disable-sync",
                   "--disable-dev-shm-usage", "--no-proxy-server", f"--user-data-dir={self.folder()}",
                   "--virtual-time-budget=20000", "--dump-dom", f"http://127.0.0.1:{host.port}/page").stdout.decode()
        self.assertRegex(page, '<p id="out">a 4 times the same</p>')


class HaproxyTest(PeerTest):
    program = "haproxy"
    mode = ()

    def setUp(self):
        self.hosts = [Host(PEER_HOST, name, *self.mode) for name in "ab"]
        for host in self.hosts:
            self.addCleanup(host.end)
        self.port = free_port()
        with open(SCALING, encoding="utf-8") as page:
            config = re.search(r"^```haproxy\n(.*?)^```", page.read(), re.M | re.S).group(1)
        for old, new in ((":80\n", f"127.0.0.1:{self.port}\n"), (":8081 ", f":{self.hosts[0].port} "),
                           (":8082 ", f":{self.hosts[1].port} ")):
            self.assertEqual(config.count(old), 1, old)
            config = config.replace(old, new)
        file = f"{self.folder()}/haproxy.cfg"
        with open(file, "w", encoding="ascii") as out:
            out.write(config)
        run("haproxy", "-c", "-f", file)
        self.proxy = subprocess.Popen(["haproxy", "-db", "-f", file], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(self.end_proxy)
        self.assertTrue(eventually(lambda: listens(self.port) or self.proxy.poll() is not None))
        self.assertIsNone(self.proxy.poll(), "the proxy ended at once")

    def end_proxy(self):
        self.proxy.terminate()
        self.proxy.wait(60)

    def connect(self, source="127.0.0.1"):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60, source_address=(source, 0))
        self.addCleanup(connection.close)
        return connection

    def ask(self, connection, path="/who", body=None):
        connection.request("POST" if body is not None else "GET", path, body)
        response = connection.getresponse()
        return response.status, response.read()

    def test_proxy_uses_both_hosts_and_sends_the_client_address(self):
        for source in ("127.0.0.1", "127.0.0.9"):
            connection = self.connect(source)
            answers = [self.ask(connection) for _ in range(8)]
            expected = {(200, f"{name} for {source}\n".encode()) for name in "ab"}
            self.assertEqual(set(answers), expected)

    def test_bodies_pass_unchanged_in_both_directions(self):
        connection = self.connect()
        body = b"0123456789abcdef" * 20000
        for _ in range(4):
            self.assertEqual(self.ask(connection, "/echo", body), (200, body))

    def test_requests_continue_when_one_host_ends(self):
        connection = self.connect()
        self.assertEqual(self.hosts[0].end(), 0)
        for _ in range(8):
            self.assertEqual(self.ask(connection), (200, b"b for 127.0.0.1\n"))


class HaproxyStrictTest(HaproxyTest):
    """The same hosts in strict mode, as docs/scaling.md shows them."""
    mode = ("strict",)


if __name__ == "__main__":
    sys.exit(test_results.run(sys.modules[__name__], "peers", RESULTS))
