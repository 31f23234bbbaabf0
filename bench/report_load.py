#!/usr/bin/python3
"""Size, elements and load time of HTML reports in headless Chromium, side by side.

usage: report_load.py [--repeats N] LABEL=report.html ...
Each report is loaded N times (3 by default) in turn, so that the machine's load falls on all
alike; the table gives the file size, the element count once loaded (scripts run) and the median
time from navigation to the end of the load event. Needs python3-selenium, chromium and
chromium-driver (Debian packages)."""

import argparse
import os
import statistics
import sys

from selenium import webdriver
from selenium.webdriver.chrome.service import Service


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--repeats", type=int, default=3)
    parser.add_argument("reports", nargs="+")
    args = parser.parse_args()
    reports = [item.split("=", 1) if "=" in item else (os.path.basename(item), item)
               for item in args.reports]
    options = webdriver.ChromeOptions()
    for arg in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1400,1000",
                "--disable-dev-shm-usage"):
        options.add_argument(arg)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    times = {label: [] for label, _ in reports}
    elements = {}
    try:
        for _ in range(args.repeats):
            for label, path in reports:
                driver.get("about:blank")
                driver.get("file://" + os.path.abspath(path))
                timing = driver.execute_script(
                    "var t = performance.getEntriesByType('navigation')[0];"
                    "return [t.startTime, t.loadEventEnd];")
                times[label].append((timing[1] - timing[0]) / 1000.0)
                elements[label] = driver.execute_script(
                    "return document.getElementsByTagName('*').length")
    finally:
        driver.quit()
    print("| report | size MB | elements | load s (median of %d) |" % args.repeats)
    print("|---|---|---|---|")
    for label, path in reports:
        print("| %s | %.2f | %d | %.2f |" % (label, os.path.getsize(path) / 1e6, elements[label],
                                            statistics.median(times[label])))
    return 0


if __name__ == "__main__":
    sys.exit(main())
