"""Starts qzmon in a folder of its own and talks to it."""

import http.client
import json
import os
import re
import signal
import subprocess
import tempfile
import threading

from webdriver import wait_for

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAM = os.environ.get("QZMON", os.path.join(ROOT, "build/linux/bin/qzmon"))


class Monitor:
    """A running qzmon with its simulator on a free port of the loopback."""

    def __init__(self, folder=None, options=()):
        self._own = None
        self._token = None
        if folder is None:
            self._own = tempfile.TemporaryDirectory(prefix="qz-monitor-")
            folder = self._own.name
        self.folder = folder
        self.lines = []
        self.process = subprocess.Popen([PROGRAM, "--data", folder, "--http", "0", *options],
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self._reader = threading.Thread(target=self._read)
        self._reader.start()
        try:
            self.address = wait_for("the line with the address", self._address)
        except AssertionError:
            self.close()
            raise AssertionError(f"qzmon did not start: {self.lines}") from None
        self.port = int(re.search(r":(\d+)/", self.address).group(1))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def _address(self):
        if self.process.poll() is not None:
            self._reader.join()
            raise AssertionError("it ended")
        for line in self.lines:
            if line.startswith("Open "):
                return line[5:]
        return None

    def stop(self, how=signal.SIGTERM):
        """Ends it and returns its exit code."""
        if self.process.poll() is None:
            self.process.send_signal(how)
        code = self.process.wait(60)
        self._reader.join()
        self.process.stdout.close()
        return code

    def close(self):
        self.stop(signal.SIGKILL)
        if self._own:
            self._own.cleanup()
            self._own = None

    def request(self, method, path, body=None, headers=None):
        """Status, headers and bytes of an answer."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        try:
            connection.request(method, path, body, headers or {})
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def write_token(self):
        """The header without which nothing is changed."""
        if self._token is None:
            status, _, body = self.request("GET", "/api/token")
            if status != 200:
                raise AssertionError(f"no token: {status}")
            self._token = {"X-Qzmon": json.loads(body)["token"]}
        return self._token

    def get(self, path):
        status, _, body = self.request("GET", path, None, self.write_token())
        if status != 200:
            raise AssertionError(f"GET {path}: {status} {body[:300]}")
        return json.loads(body)

    def post(self, path, fields):
        status, _, body = self.request("POST", path, json.dumps(fields), self.write_token())
        if status != 200:
            raise AssertionError(f"POST {path}: {status} {body[:300]}")
        return json.loads(body)

    def wait_for_samples(self, count):
        wait_for(f"{count} samples", lambda: self.get("/api/table")["count"] >= count)

    def log(self):
        return [entry["text"] for entry in self.get("/api/log?count=200")["entries"]]
