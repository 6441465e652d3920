"""A browser to drive, over the W3C WebDriver protocol: chromedriver and nothing but the standard library."""

import base64
import http.client
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class DriverError(Exception):
    pass


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_for(what, condition, seconds=60):
    """The first true answer of the condition; an AssertionError that names `what` when none comes."""
    end = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError(f"did not come: {what}")
        time.sleep(0.1)


class Browser:
    """One headless Chromium window of a size, with an empty profile of its own."""

    def __init__(self, width, height, scale=1):
        self._profile = tempfile.mkdtemp(prefix="qz-browser-")
        self._port = free_port()
        self._driver = subprocess.Popen(
            ["chromedriver", f"--port={self._port}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self._session = None
        try:
            wait_for("chromedriver", self._is_up)
            # A window cannot be as narrow as a phone, so the size of the page is set.
            options = {
                "args": ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                         "--disable-background-networking", "--disable-component-update", "--disable-sync",
                         "--disable-dev-shm-usage", f"--user-data-dir={self._profile}",
                         f"--window-size={max(width, 520)},{height}"],
                "mobileEmulation": {"deviceMetrics": {"width": width, "height": height, "pixelRatio": scale,
                                                      "mobile": width < 600, "touch": width < 600}},
            }
            answer = self._send("POST", "/session", {
                "capabilities": {"alwaysMatch": {"browserName": "chrome", "goog:chromeOptions": options,
                                                 "goog:loggingPrefs": {"browser": "ALL"}}}})
            self._session = "/session/" + answer["sessionId"]
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        if self._session:
            try:
                self._send("DELETE", self._session)
            except (OSError, DriverError):
                pass
            self._session = None
        self._driver.terminate()
        self._driver.wait(30)
        shutil.rmtree(self._profile, ignore_errors=True)

    def _is_up(self):
        try:
            return self._send("GET", "/status")["ready"]
        except OSError:
            return False

    def _send(self, method, path, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", self._port, timeout=120)
        try:
            connection.request(method, path, None if body is None else json.dumps(body),
                               {"Content-Type": "application/json"})
            answer = json.loads(connection.getresponse().read())
        finally:
            connection.close()
        value = answer.get("value")
        if isinstance(value, dict) and "error" in value:
            raise DriverError(f"{value['error']}: {value.get('message', '')}")
        return value

    def open(self, address):
        self._send("POST", self._session + "/url", {"url": address})

    def address(self):
        return self._send("GET", self._session + "/url")

    def run(self, script, *arguments):
        """Runs a function body in the page and returns its result."""
        return self._send("POST", self._session + "/execute/sync", {"script": script, "args": list(arguments)})

    def find(self, selector):
        return self._send("POST", self._session + "/element",
                          {"using": "css selector", "value": selector})[ELEMENT]

    def click(self, selector):
        element = self.find(selector)
        # Not below the header that stays at the top.
        self.run("document.querySelector(arguments[0]).scrollIntoView({block: 'center'})", selector)
        self._send("POST", f"{self._session}/element/{element}/click", {})

    def write(self, selector, text):
        """Types a text in the place of what stands there."""
        element = self.find(selector)
        self.run("document.querySelector(arguments[0]).scrollIntoView({block: 'center'})", selector)
        self._send("POST", f"{self._session}/element/{element}/clear", {})
        self._send("POST", f"{self._session}/element/{element}/value", {"text": text})

    def keys(self, *keys):
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self._send("POST", self._session + "/actions",
                   {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def text(self, selector):
        return self.run("const e = document.querySelector(arguments[0]); return e ? e.innerText : ''", selector)

    def errors(self):
        """Errors in the page's console since the last call, and responses that were no success."""
        entries = self._send("POST", self._session + "/se/log", {"type": "browser"})
        return [entry["message"] for entry in entries if entry["level"] in ("SEVERE", "WARNING")]

    def screenshot(self, path, whole=False):
        """A picture of the window, or of the page from top to bottom."""
        if whole:
            width, height = self.run("return [innerWidth, document.documentElement.scrollHeight]")
            answer = self._send("POST", self._session + "/goog/cdp/execute", {
                "cmd": "Page.captureScreenshot",
                "params": {"format": "png", "captureBeyondViewport": True,
                           "clip": {"x": 0, "y": 0, "width": width, "height": height, "scale": 1}}})
            picture = answer["data"]
        else:
            picture = self._send("GET", self._session + "/screenshot")
        os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
        with open(path, "wb") as file:
            file.write(base64.b64decode(picture))
