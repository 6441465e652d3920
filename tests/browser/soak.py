"""The monitor at full sampling speed, with browsers attached and the device unplugged and plugged, for some minutes.

    python3 tests/browser/soak.py [MINUTES]

Prints memory, descriptors and threads every ten seconds, and fails when they grow, or when the log holds an error but the
reported losses.
"""

import sys
import time

from monitor import Monitor
from webdriver import Browser, wait_for

SIZES = ((1280, 900, 1), (390, 844, 2))


def line(monitor, begin):
    figures = monitor.get("/api/figures")
    status = monitor.get("/api/status")
    print(f"{time.monotonic() - begin:6.0f} s  {figures['memory'] / 1048576:7.1f} MB  {figures['descriptors']:4} descriptors  "
          f"{figures['threads']:3} threads  {figures['rows']:7} rows  {figures['fileBytes'] / 1048576:8.1f} MB file  "
          f"{status['lost']:3} losses  sync {figures['syncMs']:.1f} ms", flush=True)
    return figures


def main():
    seconds = 60 * float(sys.argv[1]) if len(sys.argv) > 1 else 180
    with Monitor() as monitor:
        monitor.post("/api/settings", {"name": "sample-ms", "value": "20"})
        browsers = [Browser(*size) for size in SIZES]
        try:
            for browser in browsers:
                browser.open(monitor.address)
            begin = time.monotonic()
            measured = []
            turn = 0
            while time.monotonic() - begin < seconds:
                time.sleep(10)
                measured.append(line(monitor, begin))
                turn += 1
                if turn % 2 == 0:
                    monitor.post("/api/simulator", {"plugged": turn % 4 == 0})
                if turn % 6 == 0:
                    taken = monitor.post("/api/snapshots", {"label": f"turn {turn}"})
                    monitor.get(f"/api/preview?id={taken['id']}")
            monitor.post("/api/simulator", {"plugged": True})
            wait_for("the device", lambda: monitor.get("/api/status")["connected"])
            for browser in browsers:
                wait_for("the page", lambda: browser.text("#state") == "connected")
            line(monitor, begin)
            log = monitor.log()
        finally:
            for browser in browsers:
                browser.close()
        strange = [entry for entry in log if "rror" in entry or "ailed" in entry and "Device lost" not in entry]
        third = max(1, len(measured) // 3)
        early, late = measured[third:2 * third], measured[-third:]
        memory = [sorted(f["memory"] for f in part)[len(part) // 2] for part in (early, late)]
        rows = [sorted(f["rows"] for f in part)[len(part) // 2] for part in (early, late)]
        descriptors = [max(f["descriptors"] for f in part) for part in (early, late)]
        # The index of the rows and the latest samples are kept: some bytes for each row.
        allowed = 8 * 1048576 + 200 * (rows[1] - rows[0])
        print(f"memory {memory[0] / 1048576:.1f} MB in the middle, {memory[1] / 1048576:.1f} MB at the end; "
              f"descriptors {descriptors[0]}, {descriptors[1]}; {len(strange)} errors")
        for entry in strange:
            print("  " + entry)
        if strange or memory[1] - memory[0] > allowed or descriptors[1] > descriptors[0] + 4 or monitor.stop() != 0:
            sys.exit(1)


if __name__ == "__main__":
    main()
