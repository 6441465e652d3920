"""A session of the monitor without a browser: the requests of the page and their responses. Exit code 1 when one is wrong."""

import signal
import sys
import tempfile
import time

from monitor import Monitor
from webdriver import wait_for


def say(text):
    print(text, flush=True)


def require(condition, text):
    if not condition:
        raise AssertionError(text)


def values(monitor):
    return {c["name"]: round(c["value"], 3) for c in monitor.get("/api/status")["channels"] if "value" in c}


def change_and_restore(monitor):
    snapshot = monitor.post("/api/snapshots", {"label": "before the change"})
    say(f"snapshot       {snapshot['label']}, {snapshot['time']}")
    monitor.post("/api/parameters", {"channel": 0, "offset": 50, "gain": 1})
    wait_for("the changed value", lambda: values(monitor)["TEMP"] > 60)
    say(f"offset of 50   {values(monitor)}")
    preview = monitor.get(f"/api/preview?id={snapshot['id']}")
    require(all(row[1] == "0" for row in preview["parameters"]["rows"]), "the preview does not show the old offsets")
    say(f"preview        {preview['samples']['count']} samples then, {monitor.get('/api/table')['count']} now")
    monitor.post("/api/restore", {"id": snapshot["id"]})
    wait_for("the restored value", lambda: values(monitor)["TEMP"] < 60)
    require(monitor.get("/api/parameters")["channels"][0]["offset"] == 0, "the offset is not what it was")
    say(f"restored       {values(monitor)}")


def unplug_and_plug(monitor):
    monitor.post("/api/simulator", {"plugged": False})
    wait_for("the loss", lambda: not monitor.get("/api/status")["connected"])
    say(f"unplugged      {monitor.get('/api/status')['trouble']}")
    monitor.post("/api/simulator", {"plugged": True})
    wait_for("the device", lambda: monitor.get("/api/status")["connected"])
    say("plugged        connected again")


def main():
    with tempfile.TemporaryDirectory(prefix="qz-session-") as folder:
        with Monitor(folder) as monitor:
            say(f"started        {monitor.lines[0]}")
            say(f"address        {monitor.address}")
            monitor.post("/api/settings", {"name": "sample-ms", "value": "50"})
            monitor.wait_for_samples(20)
            say(f"20 samples     {values(monitor)}")
            status, headers, chart = monitor.request("GET", "/chart.bmp?w=640&h=320")
            require(status == 200 and chart[:2] == b"BM" and len(chart) == 54 + 640 * 320 * 4, "no chart")
            say(f"chart          {headers['Content-Type']}, {len(chart)} bytes")
            change_and_restore(monitor)
            unplug_and_plug(monitor)
            kept = monitor.get("/api/table")["count"]
            syncs = monitor.get("/api/figures")["syncs"]
            wait_for("two syncs", lambda: monitor.get("/api/figures")["syncs"] > syncs + 1)
            monitor.stop(signal.SIGKILL)
            say(f"killed         with {kept} samples synced")
        with Monitor(folder) as monitor:
            say(f"started        {monitor.lines[0]}")
            require("checks clean" in monitor.lines[0], "the file does not check clean")
            require(int(monitor.lines[0].split("checks clean, ")[1].split()[0]) >= kept, "synced samples are missing")
            time.sleep(1)
            require(monitor.stop() == 0, "the stop failed")
            say(f"stopped        {monitor.lines[-1]}")


if __name__ == "__main__":
    try:
        main()
    except AssertionError as failure:
        print(f"session: {failure}", file=sys.stderr)
        sys.exit(1)
