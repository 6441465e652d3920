"""What a user of the monitor sees and does, in a real browser; and the server's responses.

    python3 tests/browser/monitor_test.py [--screenshots FOLDER]
"""

import http.server
import json
import os
import re
import resource
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from monitor import PROGRAM, Monitor
from webdriver import Browser, wait_for

SCREENSHOTS = None
DESKTOP = (1280, 900, 1)
PHONE = (390, 844, 2)


def storage(monitor):
    return monitor.get("/api/status")["storage"]


def limit_files(process, size):
    """No file of the process grows beyond the size."""
    resource.prlimit(process, resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))


def samples_in_the_line(line):
    return int(re.search("([0-9]+) samples are in the file", line).group(1))


def second_request(monitor, gain, token):
    """A whole request, to be sent as the body of another one."""
    body = json.dumps({"channel": 0, "offset": 0, "gain": gain})
    return (f"POST /api/parameters HTTP/1.1\r\nHost: 127.0.0.1:{monitor.port}\r\nX-Qzmon: {token}\r\n"
            f"Content-Type: application/json\r\nContent-Length: {len(body)}\r\n\r\n{body}")


class ForeignPage:
    """An empty page of another origin, on the loopback."""

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            self.send_response(200)
            self.send_header("Content-Type", "text/html")
            self.end_headers()
            self.wfile.write(b"<!doctype html><title>another site</title>")

        def log_message(self, *_):
            pass

    def __enter__(self):
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), self.Handler)
        self.thread = threading.Thread(target=self.server.serve_forever)
        self.thread.start()
        self.address = f"http://localhost:{self.server.server_port}/"
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


def wake_ups(process):
    """How often the threads of a process have gone to sleep so far."""
    count = 0
    for thread in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{thread}/status", encoding="ascii") as status:
            count += sum(int(line.split()[1]) for line in status if line.startswith("voluntary_ctxt_switches"))
    return count


class PageAtDesktopWidth(unittest.TestCase):
    size = DESKTOP
    name = "desktop"

    def setUp(self):
        self.monitor = Monitor()
        self.addCleanup(self.monitor.close)
        self.monitor.post("/api/settings", {"name": "sample-ms", "value": "200"})
        self.browser = Browser(*self.size)
        self.addCleanup(self.browser.close)
        self.browser.open(self.monitor.address)
        wait_for("the device's state", lambda: self.browser.text("#state") == "connected")
        wait_for("the chart", lambda: self.browser.run("return document.getElementById('chart').naturalWidth > 0"))

    def picture(self, name, whole=False):
        if SCREENSHOTS:
            self.browser.screenshot(os.path.join(SCREENSHOTS, f"{self.name}-{name}.png"), whole)

    def notice(self):
        return self.browser.text("#notice")

    def test_the_page_shows_the_channels_a_chart_and_every_part_without_an_error(self):
        browser = self.browser
        names = browser.run("return [...document.querySelectorAll('.value span')].map(e => e.innerText)")
        self.assertEqual(names, ["TEMP", "PRES", "FLOW", "VOLT"])
        wait_for("rows", lambda: browser.run("return document.querySelectorAll('#table tbody tr').length") > 0)
        wait_for("log", lambda: "Device connected" in browser.text("#log-list"))
        wait_for("figures", lambda: "Open descriptors" in browser.text("#figure-list"))
        wait_for("settings", lambda: "chart-seconds" in browser.text("#setting-rows"))
        wait_for("ruler", lambda: browser.run("return document.getElementById('ruler').naturalWidth > 0"))
        wide, window = browser.run("return [document.documentElement.scrollWidth, innerWidth]")
        self.assertLessEqual(wide, window, "the page is wider than its window")
        time.sleep(6)
        self.picture("whole", whole=True)
        self.assertEqual(browser.errors(), [])

    def test_values_and_chart_move_by_themselves(self):
        browser = self.browser
        values = browser.text("#values")
        chart = browser.run("return document.getElementById('chart').src")
        wait_for("another value", lambda: browser.text("#values") != values)
        wait_for("another chart", lambda: browser.run("return document.getElementById('chart').src") != chart)

    def test_a_changed_parameter_reaches_the_device_and_shows_in_its_values(self):
        browser = self.browser
        before = float(browser.text(".value b"))
        browser.write("#offset-0", "100")
        browser.click("#parameter-0 button")
        wait_for("the notice", lambda: "TEMP: offset 100" in self.notice())
        wait_for("the higher value", lambda: float(browser.text(".value b")) > before + 90)
        self.assertEqual(self.monitor.get("/api/parameters")["channels"][0]["offset"], 100)
        self.picture("parameter")

    def test_a_negative_fraction_reaches_the_device_and_what_it_rounds_is_told(self):
        browser = self.browser
        # The zero at the end goes when the page draws the field anew from what the device has.
        browser.write("#offset-0", "-0.50")
        browser.click("#parameter-0 button")
        wait_for("the notice", lambda: "TEMP: offset -0.5, gain 1, read back" in self.notice())
        self.assertEqual(self.monitor.get("/api/parameters")["channels"][0]["offset"], -0.5)
        wait_for("the form", lambda: browser.run("return document.getElementById('offset-0').value") == "-0.5")
        browser.write("#offset-0", "0.123456789")
        browser.click("#parameter-0 button")
        wait_for("the notice", lambda: "asked for offset 0.123456789, gain 1, but the device has offset 0.12345679"
                 in self.notice())

    def test_a_second_snapshot_of_one_label_is_refused_with_words(self):
        browser = self.browser
        self.monitor.post("/api/snapshots", {"label": "one"})
        browser.write("#snapshot-label", "one")
        browser.click("#snapshot-form button")
        wait_for("the refusal", lambda: 'There is a snapshot "one" already; choose another label.' in self.notice())
        self.assertEqual(browser.run("return document.getElementById('snapshot-label').value"), "one")

    def test_a_label_shows_as_it_is_and_runs_nothing(self):
        browser = self.browser
        label = "]}\"\\<script>window.hit=1</script><img src=x onerror='window.hit=1'>\u0001\r\n\U0001F600"
        taken = self.monitor.post("/api/snapshots", {"label": label})
        self.assertEqual(taken["label"], label)
        wait_for("the snapshot", lambda: "window.hit=1" in browser.text("#snapshot-list"))
        shown = browser.run("return document.querySelector('.snapshot span').textContent")
        self.assertIn(label, shown)
        wait_for("the log", lambda: "\\x0D\\x0A\U0001F600" in browser.text("#log-list"))
        browser.click(".snapshot button:nth-of-type(1)")
        wait_for("the preview", lambda: "samples" in browser.text("#preview"))
        self.assertEqual(browser.run("return [typeof window.hit, document.querySelectorAll('.snapshot img').length]"),
                         ["undefined", 0])
        self.assertEqual(browser.errors(), [])

    def test_a_snapshot_is_previewed_and_restored_with_its_parameters(self):
        browser = self.browser
        self.monitor.wait_for_samples(5)
        browser.write("#snapshot-label", 'before the "change"')
        browser.click("#snapshot-form button")
        wait_for("the snapshot", lambda: 'before the "change"' in browser.text("#snapshot-list"))
        taken = self.monitor.get("/api/snapshots")["snapshots"][0]
        then = self.monitor.get(f"/api/preview?id={taken['id']}")["samples"]["count"]

        browser.write("#gain-1", "3")
        browser.click("#parameter-1 button")
        wait_for("the change", lambda: self.monitor.get("/api/parameters")["channels"][1]["gain"] == 3)
        self.monitor.wait_for_samples(then + 20)

        browser.click(".snapshot button:nth-of-type(1)")
        wait_for("the preview", lambda: f"{then} samples" in browser.text("#preview"))
        row = browser.run("return [...document.querySelectorAll('#preview tbody')[0].rows[2].cells].map(c => c.innerText)")
        self.assertEqual(row, ["PRES", "0", "1"])
        self.picture("preview")
        self.assertEqual(self.monitor.get("/api/parameters")["channels"][1]["gain"], 3)

        browser.click(".snapshot button:nth-of-type(2)")
        wait_for("the question", lambda: browser.run("return document.getElementById('ask').open"))
        self.picture("question")
        browser.click("#ask-yes")
        wait_for("the notice", lambda: "is restored" in self.notice())
        self.assertEqual(self.monitor.get("/api/parameters")["channels"][1]["gain"], 1)
        wait_for("the old gain on the page", lambda: browser.run("return document.getElementById('gain-1').value") == "1")
        self.assertLess(self.monitor.get("/api/table")["count"], then + 20)
        self.assertIn("before the restore", self.monitor.get("/api/snapshots")["snapshots"][0]["label"])
        # And the monitor goes on.
        self.monitor.wait_for_samples(then + 5)
        self.assertEqual(browser.errors(), [])

    def test_a_lost_device_is_shown_and_found_again(self):
        browser = self.browser
        browser.click("#plug")
        wait_for("the loss", lambda: browser.text("#state") == "device lost")
        wait_for("the other label", lambda: browser.text("#plug") == "Plug the simulator in")
        self.assertTrue(browser.run("return document.querySelector('#parameter-0 button').disabled"))
        self.picture("lost")
        browser.click("#plug")
        wait_for("the device", lambda: browser.text("#state") == "connected")
        log = self.monitor.log()
        self.assertEqual(sum(entry.startswith("Device lost") for entry in log), 1)
        self.assertEqual(sum(entry.startswith("Device connected") for entry in log), 2)

    def test_tables_are_paged(self):
        browser = self.browser
        self.monitor.wait_for_samples(25)
        wait_for("the next page",
                 lambda: browser.run("return !document.getElementById('table-older').disabled"))
        browser.click("#table-older")
        wait_for("the second page", lambda: browser.run("return !document.getElementById('table-newer').disabled"))
        self.assertIn("Rows 1 to", browser.text("#table-place"))
        browser.click("#table-newer")
        wait_for("the first page", lambda: browser.run("return document.getElementById('table-newer').disabled"))
        browser.run("const s = document.getElementById('table-name'); s.value = 'parameters';"
                    "s.dispatchEvent(new Event('change'))")
        wait_for("the other table", lambda: "gain" in browser.text("#table"))

    def test_a_setting_is_changed_in_its_file_and_a_bad_one_is_refused_with_words(self):
        browser = self.browser
        wait_for("settings", lambda: browser.run("return document.getElementById('setting-chart-seconds') !== null"))
        browser.write("#setting-chart-seconds", "60")
        browser.click("form:has(#setting-chart-seconds) button")
        wait_for("the notice", lambda: "chart-seconds is 60" in self.notice())
        with open(os.path.join(self.monitor.folder, "qzmon.ini"), encoding="utf-8") as file:
            self.assertIn("chart-seconds=60; what the live chart shows", file.read())
        status, _, body = self.monitor.request(
            "POST", "/api/settings", json.dumps({"name": "chart-seconds", "value": "1"}),
            self.monitor.write_token())
        self.assertEqual(status, 400)
        self.assertIn("from 10 to", json.loads(body)["error"])

    def test_the_page_is_worked_with_the_keyboard_alone(self):
        browser = self.browser
        browser.run("document.getElementById('snapshot-label').focus()")
        # A word, then the key that sends a form.
        browser.keys("k", "e", "y", "s", "\ue007")
        wait_for("the snapshot", lambda: "keys" in browser.text("#snapshot-list"))
        browser.run("document.querySelector('#snapshot-label').focus()")
        reached = []
        for _ in range(3):
            browser.keys("\ue004")
            reached.append(browser.run("return document.activeElement.innerText"))
        self.assertEqual(reached, ["Take a snapshot", "Preview", "Restore"])
        browser.run("document.getElementById('ruler').focus()")
        browser.keys("\ue014", "\ue014")
        wait_for("the cursor", lambda: "x=-1" not in browser.run("return document.getElementById('ruler').src"))


class PageAtPhoneWidth(PageAtDesktopWidth):
    size = PHONE
    name = "phone"


class Server(unittest.TestCase):
    def test_every_error_has_a_clear_answer(self):
        with Monitor() as monitor:
            for method, path, status in (("GET", "/nothing", 404), ("GET", "/api/nothing", 404),
                                         ("GET", "/api/restore", 405), ("GET", "/api/table?name=x", 404),
                                         ("GET", "/api/table?page=x", 400), ("GET", "/api/preview", 400),
                                         ("GET", "/api/preview?id=7", 404), ("PUT", "/", 405)):
                answer, headers, body = monitor.request(method, path, None, monitor.write_token())
                self.assertEqual(answer, status, path)
                if path.startswith("/api/"):
                    self.assertIn("error", json.loads(body), path)
                else:
                    self.assertIn("text/html", headers["Content-Type"])
                    # A method that no address has is refused before it reaches the monitor.
                    self.assertIn(b"Method Not Allowed" if status == 405 else b"To the monitor", body)
            for body in ("{", "[]", '{"channel":0,"offset":"x","gain":1}', '{"channel":9,"offset":0,"gain":1}'):
                answer, _, _ = monitor.request("POST", "/api/parameters", body, monitor.write_token())
                self.assertIn(answer, (400, 404), body)
            _, _, body = monitor.request("GET", "/<script>alert(1)</script>")
            self.assertNotIn(b"<script>", body)

    def test_numbers_are_read_whole_and_read_back(self):
        with Monitor() as monitor:
            wait_for("the device", lambda: monitor.get("/api/status")["connected"])
            answer = monitor.post("/api/parameters", {"channel": 1, "offset": -0.5, "gain": -0.25})
            self.assertEqual((answer["name"], answer["offset"], answer["gain"], answer["agrees"]),
                             ("PRES", -0.5, -0.25, True))
            channel = monitor.get("/api/parameters")["channels"][1]
            self.assertEqual((channel["offset"], channel["gain"]), (-0.5, -0.25))
            wait_for("the value", lambda: -3 < monitor.get("/api/status")["channels"][1]["value"] < -0.5)
            answer = monitor.post("/api/parameters", {"channel": 1, "offset": 0.123456789, "gain": 1})
            self.assertEqual((answer["offset"], answer["asked"]["offset"], answer["agrees"]),
                             (0.12345679, 0.123456789, False))
            self.assertIn("asked for offset 0.123456789", answer["message"])
            for body, about in (('{"channel":1,"offset":"0,5","gain":1}', '"offset" takes a number'),
                                ('{"channel":1,"offset":1e7,"gain":1}', '"offset" takes a number from -1000000'),
                                ('{"channel":1,"offset":null,"gain":1}', '"offset" is missing'),
                                ('{"channel":1.5,"offset":0,"gain":1}', '"channel" takes a whole number'),
                                ('{"channel":1,"offset":--1,"gain":1}', "at byte 23, a digit is expected"),
                                ('{"channel":1,"offset":0,"gain":"nan"}', '"gain" takes a number')):
                status, _, answer = monitor.request("POST", "/api/parameters", body, monitor.write_token())
                self.assertEqual(status, 400, body)
                self.assertIn(about, json.loads(answer)["error"])
            self.assertEqual(monitor.get("/api/parameters")["channels"][1]["gain"], 1)

    def test_times_are_written_by_the_standard(self):
        form = r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{3})?$"
        with Monitor() as monitor:
            monitor.wait_for_samples(2)
            monitor.post("/api/snapshots", {"label": "one"})
            status = monitor.get("/api/status")
            for time_text in (status["now"], status["time"], monitor.get("/api/snapshots")["snapshots"][0]["time"],
                              monitor.get("/api/samples")["samples"][0]["time"],
                              monitor.get("/api/table")["rows"][0][0], monitor.get("/api/log")["entries"][0]["time"]):
                self.assertRegex(time_text, form)

    def test_a_second_snapshot_of_one_label_is_refused(self):
        with Monitor() as monitor:
            monitor.wait_for_samples(1)
            monitor.post("/api/snapshots", {"label": "one"})
            status, _, body = monitor.request("POST", "/api/snapshots", '{"label":"one"}', monitor.write_token())
            self.assertEqual(status, 409)
            self.assertIn('There is a snapshot "one" already', json.loads(body)["error"])
            self.assertEqual(len(monitor.get("/api/snapshots")["snapshots"]), 1)

    def test_its_files_are_for_its_user_alone(self):
        with Monitor(options=("--bind", "0.0.0.0")) as monitor:
            wait_for("the lock", lambda: os.path.exists(os.path.join(monitor.folder, "Log")))
            for place, folders, files in os.walk(monitor.folder):
                for name in folders + files:
                    path = os.path.join(place, name)
                    self.assertEqual(os.stat(path).st_mode & 0o077, 0, path)

    def test_bad_arguments_are_named(self):
        for arguments, about in ((["--http", "x"], '--http: "x" is no whole number'),
                                 (["--baud", "-1"], '--baud: "-1" is no whole number'),
                                 (["--for", "1s"], '--for: "1s" is no number of seconds'),
                                 (["--bind", "127.0.0.999"], '--bind: "127.0.0.999" is no address'),
                                 (["--more", "1"], "--more is no option")):
            with tempfile.TemporaryDirectory() as folder:
                done = subprocess.run([PROGRAM, "--data", folder, *arguments], capture_output=True, text=True, timeout=60)
                self.assertEqual((done.returncode, done.stderr.count("\n")), (2, 1), done.stderr)
                self.assertIn(about, done.stderr)

    def test_no_path_leads_out_of_what_is_served(self):
        with Monitor() as monitor:
            for path in ("/../qzmon.ini", "/qzmon.ini", "/qzmon.qzd", "/%2e%2e/qzmon.ini", "//etc/passwd", "/./qzmon.ini",
                         "/..%2fqzmon.ini", "/Log", "/monitor.css/../../qzmon.ini"):
                status, _, body = monitor.request("GET", path)
                self.assertIn(status, (400, 403, 404), path)
                self.assertNotIn(b"sample-ms=", body)

    def test_a_foreign_page_changes_nothing_and_a_foreign_name_sees_nothing(self):
        with Monitor() as monitor:
            status, _, _ = monitor.request("POST", "/api/snapshots", '{"label":"x"}')
            self.assertEqual(status, 403)
            self.assertEqual(monitor.get("/api/snapshots")["snapshots"], [])
            status, _, _ = monitor.request("POST", "/api/snapshots", '{"label":"x"}', {"X-Qzmon": "page"})
            self.assertEqual(status, 403)
            status, _, _ = monitor.request("GET", "/api/status", None, {"Host": "evil.example"})
            self.assertEqual(status, 403)
            origin = {"Origin": "http://evil.example", **monitor.write_token()}
            self.assertEqual(monitor.request("POST", "/api/snapshots", '{"label":"x"}', origin)[0], 403)
            self.assertEqual(monitor.get("/api/snapshots")["snapshots"], [])
            self.assertEqual(monitor.request("GET", "/api/preview?id=1")[0], 403)
            self.assertEqual(monitor.request("GET", "/api/preview?id=1", None, monitor.write_token())[0], 404)

    def test_a_request_within_a_body_is_not_run(self):
        with Monitor() as monitor:
            wait_for("the device", lambda: monitor.get("/api/status")["connected"])
            inner = second_request(monitor, 666, monitor.write_token()["X-Qzmon"])
            with socket.create_connection(("127.0.0.1", monitor.port), 10) as connection:
                connection.sendall((f"POST /x?Content-Length: HTTP/1.1\r\nHost: 127.0.0.1:{monitor.port}\r\n"
                                    f"Content-Length: {len(inner)}\r\n\r\n").encode())
                # A browser sends the body of a request by itself.
                time.sleep(0.5)
                connection.sendall(inner.encode())
                time.sleep(0.5)
            self.assertEqual(monitor.get("/api/parameters")["channels"][0]["gain"], 1)

    def test_a_foreign_page_in_a_browser_changes_nothing(self):
        with Monitor() as monitor, Browser(*DESKTOP) as browser:
            wait_for("the device", lambda: monitor.get("/api/status")["connected"])
            with ForeignPage() as page:
                browser.open(page.address)
                for token in ("1", "page"):
                    for path in ("/x?Content-Length:", "/x?Content-Length:%200", "/api/parameters"):
                        browser.run("fetch(arguments[0], {method: 'POST', mode: 'no-cors', body: arguments[1]})",
                                    f"http://127.0.0.1:{monitor.port}{path}", second_request(monitor, 666, token))
                time.sleep(3)
            self.assertEqual(monitor.get("/api/parameters")["channels"][0]["gain"], 1)
            self.assertNotIn("666", json.dumps(monitor.get("/api/log?count=50")))

    def test_an_address_that_is_not_the_loopback_asks_for_the_token(self):
        with Monitor(options=("--bind", "0.0.0.0")) as monitor:
            token = monitor.address.split("token=")[1]
            self.assertGreaterEqual(len(token), 32)
            for path in ("/", "/api/status", "/chart.bmp", "/?token=" + "0" * 32):
                self.assertEqual(monitor.request("GET", path)[0], 401, path)
            status, headers, _ = monitor.request("GET", "/?token=" + token)
            self.assertEqual((status, headers["Location"]), (302, "/"))
            cookie = headers["Set-Cookie"].split(";")[0]
            self.assertIn("HttpOnly", headers["Set-Cookie"])
            self.assertEqual(monitor.request("GET", "/api/status", None, {"Cookie": cookie})[0], 200)
            self.assertEqual(monitor.request("GET", "/api/status", None, {"X-Token": token})[0], 200)
            with Browser(*DESKTOP) as browser:
                browser.open(f"http://127.0.0.1:{monitor.port}/")
                self.assertIn("asks for its token", browser.text("h1"))
                if SCREENSHOTS:
                    browser.screenshot(os.path.join(SCREENSHOTS, "desktop-token.png"))
                browser.write("input[name=token]", token)
                browser.click("button")
                wait_for("the page", lambda: browser.text("#state") == "connected")
                self.assertNotIn("token", browser.address())

    def test_both_signals_stop_it_with_everything_written(self):
        for how in (signal.SIGINT, signal.SIGTERM):
            with tempfile.TemporaryDirectory() as folder:
                with Monitor(folder) as monitor:
                    monitor.wait_for_samples(2)
                    self.assertEqual(monitor.stop(how), 0)
                    stored = int(monitor.lines[-1].split("Stopped, ")[1].split()[0])
                with Monitor(folder) as monitor:
                    self.assertIn(f"checks clean, {stored} samples", monitor.lines[0])

    def test_killed_at_any_moment_it_finds_every_synced_sample_again(self):
        with tempfile.TemporaryDirectory() as folder:
            least = 0
            for turn in range(8):
                with Monitor(folder) as monitor:
                    if turn:
                        self.assertIn("checks clean", monitor.lines[0])
                        found = int(monitor.lines[0].split("checks clean, ")[1].split()[0])
                        self.assertGreaterEqual(found, least)
                    monitor.post("/api/settings", {"name": "sample-ms", "value": "20"})
                    syncs = monitor.get("/api/figures")["syncs"]
                    wait_for("a sync", lambda: monitor.get("/api/figures")["syncs"] > syncs)
                    rows = monitor.get("/api/table")["count"]
                    syncs = monitor.get("/api/figures")["syncs"]
                    wait_for("a later sync", lambda: monitor.get("/api/figures")["syncs"] > syncs)
                    least = rows
                    time.sleep(0.13 * turn)
                    monitor.stop(signal.SIGKILL)

    def test_a_file_that_is_no_database_is_put_aside(self):
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "qzmon.qzd"), "wb") as file:
                file.write(b"no database at all" * 100)
            with Monitor(folder) as monitor:
                self.assertIn("put aside as qzmon-damaged-", monitor.lines[0])
                monitor.wait_for_samples(2)
            self.assertTrue(any(name.startswith("qzmon-damaged-") for name in os.listdir(folder)))

    def test_without_a_browser_it_sleeps_nearly_all_the_time(self):
        with Monitor() as monitor:
            time.sleep(2)
            before = wake_ups(monitor.process.pid)
            time.sleep(5)
            # One sample a second from the simulator takes about 300 wake-ups a second, most of them for the
            # bytes of the simulated line.
            self.assertLess(wake_ups(monitor.process.pid) - before, 5 * 1000)

    def test_a_full_disk_is_told_survived_and_counted(self):
        with Monitor() as monitor:
            monitor.post("/api/settings", {"name": "sample-ms", "value": "20"})
            wait_for("samples", lambda: storage(monitor)["stored"] > 20)
            size = os.path.getsize(os.path.join(monitor.folder, "qzmon.qzd"))
            limit_files(monitor.process.pid, size + 100000)
            wait_for("the trouble", lambda: not storage(monitor)["works"])
            state = storage(monitor)
            self.assertIn("File too large", state["trouble"])
            wait_for("samples in memory", lambda: storage(monitor)["atRisk"] > 200)
            self.assertEqual(storage(monitor)["lost"], 0)
            self.assertGreater(len(monitor.get("/api/samples?seconds=60")["samples"]), state["stored"])
            self.assertEqual(monitor.request("GET", "/api/table?name=samples")[0], 200)
            limit_files(monitor.process.pid, resource.RLIM_INFINITY)
            wait_for("room", lambda: storage(monitor)["works"])
            wait_for("everything stored", lambda: storage(monitor)["stored"] > state["stored"] + 200)
            log = [entry["text"] for entry in monitor.get("/api/log?count=50")["entries"]]
            self.assertEqual(len([text for text in log if text.startswith("Cannot write the database: ")]), 1, log)
            self.assertIn("Samples are stored again.", log)
            taken = monitor.get("/api/status")["samples"]
            self.assertEqual(monitor.stop(), 0)
            self.assertGreaterEqual(samples_in_the_line(monitor.lines[-1]), taken)

    def test_a_disk_that_stays_full_is_told_at_the_end(self):
        with Monitor() as monitor:
            monitor.post("/api/settings", {"name": "sample-ms", "value": "20"})
            wait_for("samples", lambda: storage(monitor)["stored"] > 20)
            size = os.path.getsize(os.path.join(monitor.folder, "qzmon.qzd"))
            limit_files(monitor.process.pid, size + 100000)
            wait_for("samples in memory", lambda: storage(monitor)["atRisk"] > 50)
            self.assertEqual(monitor.stop(), 3)
            self.assertRegex(monitor.lines[-1], "Stopped, [0-9]+ samples are in the file, [0-9]+ could not be written: "
                                                "File too large")
            stored = samples_in_the_line(monitor.lines[-1])
            with Monitor(monitor.folder) as again:
                # The last sync may have failed after its changes were safe in the second file.
                found = re.search("checks clean, ([0-9]+) samples", again.lines[0])
                self.assertGreaterEqual(int(found.group(1)), stored)

    def test_two_monitors_do_not_share_a_folder(self):
        with tempfile.TemporaryDirectory() as folder, Monitor(folder):
            with self.assertRaisesRegex(AssertionError, "in use by another qzmon"):
                Monitor(folder)


if __name__ == "__main__":
    if len(sys.argv) > 2 and sys.argv[1] == "--screenshots":
        SCREENSHOTS = sys.argv[2]
        del sys.argv[1:3]
    unittest.main(verbosity=2)
