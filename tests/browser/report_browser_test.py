#!/usr/bin/python3
"""Browser test of the HTML report: opens a report drawn from the sample output document in a
headless Chromium (through Selenium and chromedriver) and checks that the page runs
without console errors, that hovering a series in the model system graph highlights its inputs
and outputs, that the significance filter hides connections, that graph labels do not overlap,
and that the single-series view shows a series with its neighbours. With --tcm it also builds the
retail example's model system, applies it to the longer data with apply.tcm, and checks that the
TCM APPLY report runs and shows the graph, the forecasts and the series plots.

usage: report_browser_test.py --sample PATH [--tcm PATH --examples DIR] [--chromium PATH]
                              [--chromedriver PATH] [--screenshots DIR]
Exit status 0 when every check passed, 1 when one failed, 77 when the browser is not available
(the test is then skipped)."""

import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

SKIP = 77


class Driver:
    """The few browser actions the checks need, over Selenium's WebDriver for Chromium."""

    def __init__(self, chromium, chromedriver):
        from selenium import webdriver
        from selenium.webdriver.chrome.service import Service
        options = webdriver.ChromeOptions()
        for arg in ("--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1400,1100",
                    "--disable-dev-shm-usage"):
            options.add_argument(arg)
        if chromium:
            options.binary_location = chromium
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.web = webdriver.Chrome(service=Service(chromedriver), options=options)

    def go(self, url):
        self.web.get(url)

    def run(self, script, *args):
        return self.web.execute_script(script, *args)

    def find(self, css):
        from selenium.webdriver.common.by import By
        return self.web.find_element(By.CSS_SELECTOR, css)

    def hover(self, element, x=None, y=None):
        from selenium.webdriver.common.action_chains import ActionChains
        actions = ActionChains(self.web)
        if x is None:
            actions.move_to_element(element)
        else:
            actions.move_to_element_with_offset(element, x, y)
        actions.perform()

    def screenshot(self, element, path):
        # The viewport with the element at its top: element shots of large SVGs time out.
        self.run("arguments[0].scrollIntoView({block: 'start', behavior: 'instant'});"
                 " window.scrollBy({top: -8, behavior: 'instant'});", element)
        self.web.save_screenshot(path)

    def browser_log(self):
        try:
            return self.web.get_log("browser")
        except Exception:  # a driver without logs
            return None

    def quit(self):
        self.web.quit()


def make_apply_report(tcm, examples, work):
    """Builds the retail model system and applies it to the longer data; the HTML report's path,
    or None when a run failed."""
    env = dict(os.environ, TMPDIR=work)
    runs = [("retail.tcm", "sales.csv", "model.html"), ("apply.tcm", "sales_2025q1.csv", "apply.html")]
    for syntax, data, report in runs:
        done = subprocess.run([tcm, "run", os.path.join(examples, syntax), "--data",
                               os.path.join(examples, data), "--out", os.path.join(work, report)],
                              capture_output=True, text=True, env=env)
        if done.returncode != 0:
            print("FAIL: tcm run %s exited %d: %s" % (syntax, done.returncode, done.stdout + done.stderr))
            return None
    return os.path.join(work, "apply.html")


def check_model_report(driver, check, page, screenshots):
    """What a user does first in the retail report: find a series, read a chart's values, see the
    forecast and the graph."""
    driver.go("file://" + page)
    errors = [entry for entry in (driver.browser_log() or []) if entry.get("level") == "SEVERE"]
    check("no console error in the retail report", not errors, json.dumps(errors)[:400])
    search = driver.find(".outline-search")
    search.send_keys("sales Beverages North")
    found = driver.run(
        "return Array.prototype.filter.call(document.querySelectorAll('.outline li.match > a'),"
        " function (a) { return a.offsetParent !== null; }).map(function (a) {"
        " return a.getAttribute('title') || a.textContent; });")
    check("the search finds the series", any("sales" in t and "Beverages" in t and "North" in t
                                              for t in found), found[:5])
    fits = driver.run(
        "return Array.prototype.filter.call(document.querySelectorAll('.figure.system-graph .graph-frame'),"
        " function (f) { return f.offsetParent !== null; }).map(function (f) {"
        " return f.scrollWidth <= f.clientWidth + 1; });")
    check("the graphs fit their frames", fits and all(fits), fits[:5])
    # Collapsed sections are drawn when opened: the page loads light.
    loaded = driver.run("return [document.getElementsByTagName('*').length,"
                        " document.querySelectorAll('noscript.deferred').length]")
    check("collapsed sections wait to be opened", loaded[1] > 0 and loaded[0] < 15000, loaded)
    # A series plot with its forecast, its section opened as a reader does, brought into view.
    driver.run(
        "Array.prototype.find.call(document.querySelectorAll('section.collapsed > .section-title'),"
        " function (t) { return t.textContent.indexOf('Observed and Predicted') >= 0; }).click();"
        "var chart = document.querySelector('svg.line-chart rect.forecast').closest('svg.line-chart');"
        "chart.id = 'chart-under-test'; chart.scrollIntoView({block: 'center', behavior: 'instant'});")
    share = driver.run(
        "var plot = document.querySelector('#chart-under-test svg.plot'), view = plot.viewBox.baseVal;"
        "var start = plot.querySelector('rect.forecast').x.baseVal.value;"
        "return (view.x + view.width - start) / view.width;")
    check("the forecast takes at least a sixth of the plot", share >= 1 / 6.0, share)
    driver.hover(driver.find("#chart-under-test svg.plot"))
    tip = driver.run("var t = document.querySelector('.tooltip'); return [t.hidden, t.textContent];")
    check("hovering a series plot shows the values of a day",
          not tip[0] and any(ch.isdigit() for ch in tip[1]) and "20" in tip[1], tip)
    # The whole history is one click away, its values read as the recent ones are.
    driver.run("document.querySelector('#chart-under-test').parentNode"
               ".querySelectorAll('.chart-views .tab')[1].click()")
    time.sleep(0.3)  # the whole paths come from the page's store, opened on first use
    # Near the plot's left edge (64 of the chart's 760 units), past the first lags; offsets from the centre.
    chart = driver.find("#chart-under-test")
    driver.hover(chart, int(chart.size["width"] * (80 / 760.0 - 0.5)), 0)
    tip = driver.run("return document.querySelector('.tooltip').textContent")
    check("the whole history shows its first days", tip.startswith("2023-01") and "Observed: " in tip
          and "Observed: \u2013" not in tip, tip)
    # A root cause figure shows a cause's plot when its node is chosen.
    driver.run(
        "Array.prototype.find.call(document.querySelectorAll('section.collapsed > .section-title'),"
        " function (t) { return t.textContent.indexOf('Outlier Root Cause Analysis') === 0"
        "  && t.textContent.indexOf('Table') < 0; }).click();"
        "var figure = document.querySelector('.figure.root-cause-analysis');"
        "figure.id = 'rca-under-test'; figure.scrollIntoView({block: 'center', behavior: 'instant'});"
        "figure.querySelectorAll('.tree-node:not(.root)')[0].dispatchEvent(new MouseEvent('click', {bubbles: true}));")
    time.sleep(0.5)
    plot = driver.run(
        "var shown = Array.prototype.filter.call(document.querySelectorAll('#rca-under-test .impact-plot'),"
        " function (p) { return !p.hidden; });"
        "return shown.map(function (p) { return [p.getAttribute('data-series'),"
        " p.querySelectorAll('svg.line-chart path.line').length]; });")
    chosen = driver.run("return document.querySelector('#rca-under-test .tree-node:not(.root)')"
                        ".getAttribute('data-series')")
    check("choosing a cause shows its plot", len(plot) == 1 and plot[0][0] == chosen and plot[0][1] >= 1,
          [chosen, plot])
    if screenshots:
        driver.screenshot(driver.find("#chart-under-test"), os.path.join(screenshots, "series-forecast.png"))
        driver.go("file://" + page)
        driver.screenshot(driver.find("body"), os.path.join(screenshots, "first-screen.png"))


def check_apply_report(driver, check, page, screenshots):
    driver.go("file://" + page)
    check("the apply report loads", driver.run("return document.readyState") == "complete")
    state = driver.run(
        "function texts(css) { return Array.prototype.map.call(document.querySelectorAll(css),"
        "  function (n) { return n.textContent; }); }"
        "return {title: texts('h1, h2').join('|'), graphs: document.querySelectorAll('.figure.system-graph').length,"
        " nodes: document.querySelectorAll('.figure.system-graph g.node').length,"
        " charts: document.querySelectorAll('figure.chart-object').length,"
        " tables: texts('figure.table-object').join('|')};")
    check("the apply report is the forecasting procedure's",
          "Temporal Causal Model Forecasting" in state["title"], state["title"][:200])
    check("the apply report draws the system graph", state["graphs"] >= 1 and state["nodes"] > 0,
          "%s graphs, %s nodes" % (state["graphs"], state["nodes"]))
    check("the apply report plots the six best targets", state["charts"] >= 6, state["charts"])
    check("the forecasts run from April 2025", "04/01/2025" in state["tables"] or
          "2025-04-01" in state["tables"] or "01-APR-2025" in state["tables"], state["tables"][:300])
    errors = [entry for entry in (driver.browser_log() or []) if entry.get("level") == "SEVERE"]
    check("no console error in the apply report", not errors, json.dumps(errors)[:400])
    if screenshots:
        driver.screenshot(driver.find(".figure.system-graph"), os.path.join(screenshots, "apply-graph.png"))
        driver.screenshot(driver.find("figure.chart-object"), os.path.join(screenshots, "apply-series.png"))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sample", required=True)
    parser.add_argument("--chromium", default=shutil.which("chromium") or shutil.which("chromium-browser"))
    parser.add_argument("--chromedriver", default=shutil.which("chromedriver"))
    parser.add_argument("--tcm")
    parser.add_argument("--examples")
    parser.add_argument("--screenshots")
    args = parser.parse_args()
    if not args.chromium or not args.chromedriver:
        print("SKIP: chromium and chromedriver are needed (Debian packages chromium, chromium-driver)")
        return SKIP

    work = tempfile.mkdtemp(prefix="tcm-report-browser-")
    page = os.path.join(work, "report.html")
    made = subprocess.run([args.sample, page], capture_output=True, text=True)
    if made.returncode != 0:
        print("FAIL: the sample report was not written: " + made.stderr)
        return 1
    apply_page = None
    if args.tcm:
        apply_page = make_apply_report(args.tcm, args.examples, work)
        if apply_page is None:
            return 1

    try:
        import selenium  # noqa: F401
    except ImportError:
        print("SKIP: python3-selenium is needed (Debian package python3-selenium)")
        return SKIP
    try:
        driver = Driver(args.chromium, args.chromedriver)
    except Exception as error:  # no browser to be had here: the test is skipped
        print("SKIP: the browser could not be started: %s" % str(error).splitlines()[0])
        return SKIP
    results = []

    def check(name, ok, detail=""):
        results.append(ok)
        print("%s: %s%s" % ("ok" if ok else "FAILED", name, "" if ok or not detail else " (%s)" % detail))

    try:
        driver.go("file://" + page)
        ready = driver.run("return document.readyState")
        check("page loads", ready == "complete", ready)

        log = driver.browser_log()
        errors = [entry for entry in (log or []) if entry.get("level") == "SEVERE"]
        check("no console error", log is not None and not errors, json.dumps(errors)[:400])

        # The "All series" graph is the third graph of the report: the summary draws the top
        # models' graph once more at the top.
        graph = ".figure.system-graph:nth-of-type(1)"
        graphs = driver.run("return document.querySelectorAll('.figure.system-graph').length")
        check("two graphs drawn", graphs == 3, graphs)
        driver.run("var all = document.querySelectorAll('.figure.system-graph')[2];"
                   "all.id = 'all-graph'; all.scrollIntoView({block: 'center', behavior: 'instant'});")
        graph = "#all-graph"
        node = driver.find(graph + " g.node[data-label='sales-East']")
        driver.hover(node)
        state = driver.run(
            "var root = document.querySelector(arguments[0]);"
            "function labels(css) { return Array.prototype.map.call(root.querySelectorAll(css),"
            "  function (n) { return n.getAttribute('data-label'); }).sort(); }"
            "return {focus: root.classList.contains('has-focus'), centre: labels('g.node.focus'),"
            " inputs: labels('g.node.is-input'), outputs: labels('g.node.is-output'),"
            " inEdges: root.querySelectorAll('g.edge.in-edge').length};", graph)
        check("hover marks the series", state["focus"] and state["centre"] == ["sales-East"], state)
        check("hover highlights its inputs",
              state["inputs"] == ["price-East", "promo-East", "visits-East"], state["inputs"])
        # Its connection to sales-North is above the run's level (p 0.08): not highlighted.
        check("hover highlights its outputs", state["outputs"] == ["stock-East"], state["outputs"])
        check("hover highlights the connections in", state["inEdges"] == 3, state["inEdges"])
        if args.screenshots:
            os.makedirs(args.screenshots, exist_ok=True)
            driver.screenshot(driver.find(graph), os.path.join(args.screenshots, "graph-hover.png"))

        count_shown = ("var root = document.querySelector(arguments[0]);"
                       "return Array.prototype.filter.call(root.querySelectorAll('g.edge'),"
                       " function (e) { return getComputedStyle(e).display !== 'none'; }).length;")
        before = driver.run(count_shown, graph)
        driver.run("var s = document.querySelector(arguments[0] + ' .graph-sig'); s.value = 0;"
                   "s.dispatchEvent(new Event('input'));", graph)
        after = driver.run(count_shown, graph)
        strict = driver.run(
            "var root = document.querySelector(arguments[0]);"
            "return Array.prototype.every.call(root.querySelectorAll('g.edge'), function (e) {"
            " var p = Number(e.getAttribute('data-p'));"
            " return getComputedStyle(e).display === 'none' || p <= 0.001; });", graph)
        check("the significance filter hides connections", after < before, "%s -> %s" % (before, after))
        check("only connections within the level stay", strict)
        label = driver.run("return document.querySelector(arguments[0] + ' .graph-sig-value').textContent", graph)
        check("the level is shown", label.endswith("0.001"), label)

        # Labels are turned along their radius, so their screen boxes are tilted: each label's
        # corners go through its transform and pairs are tested by separating axes.
        overlaps = driver.run(
            "function corners(n) { var t = n.querySelector('.node-label'), b = t.getBBox(), m = t.getCTM();"
            " return [[b.x, b.y], [b.x + b.width, b.y], [b.x + b.width, b.y + b.height], [b.x, b.y + b.height]]"
            "  .map(function (c) { return [m.a * c[0] + m.c * c[1] + m.e, m.b * c[0] + m.d * c[1] + m.f]; }); }"
            "function apart(p, q) { var polys = [p, q];"
            " for (var k = 0; k < 2; k++) for (var i = 0; i < 4; i++) {"
            "  var a = polys[k][i], b = polys[k][(i + 1) % 4], ax = b[1] - a[1], ay = a[0] - b[0];"
            "  var r = [p, q].map(function (poly) { var v = poly.map(function (c) { return c[0] * ax + c[1] * ay; });"
            "   return [Math.min.apply(null, v), Math.max.apply(null, v)]; });"
            "  var len = Math.hypot(ax, ay) || 1;"
            "  if (r[0][1] - r[1][0] < len * 0.5 || r[1][1] - r[0][0] < len * 0.5) return true; }"
            " return false; }"
            "var shapes = Array.prototype.filter.call(document.querySelectorAll(arguments[0] + ' g.node'),"
            " function (n) { return !n.hasAttribute('hidden'); }).map(corners);"
            "var bad = 0; for (var i = 0; i < shapes.length; i++) for (var j = i + 1; j < shapes.length; j++)"
            " if (!apart(shapes[i], shapes[j])) bad++; return [bad, shapes.length];", graph)
        check("graph labels do not overlap", overlaps[0] == 0 and overlaps[1] == 14, overlaps)

        shown = driver.run(
            "var root = document.querySelector(arguments[0]);"
            "var pick = root.querySelector('.graph-series');"
            "var option = Array.prototype.find.call(pick.options, function (o) { return o.text === 'sales-West'; });"
            "pick.value = option.value; pick.dispatchEvent(new Event('change'));"
            "return Array.prototype.filter.call(root.querySelectorAll('g.node'), function (n) {"
            " return !n.hasAttribute('hidden'); }).map(function (n) { return n.getAttribute('data-label'); }).sort();",
            graph)
        check("the single series view shows the series and its neighbours",
              shown == ["price-West", "promo-West", "sales-West", "stock-West", "visits-West"], shown)
        view = driver.run("return document.querySelector(arguments[0] + ' .graph-view').value", graph)
        check("the view list follows", view == "single", view)

        driver.run("document.querySelectorAll('.figure.distribution .tab')[1].click()")
        dots = driver.run("var pane = document.querySelector('.figure.distribution .pane[data-pane=dotplot]');"
                          "return [pane.hidden, pane.querySelectorAll('circle.dot').length];")
        check("the dot plot tab shows the dot plot", dots == [False, 14], dots)

        late = [entry for entry in (driver.browser_log() or []) if entry.get("level") == "SEVERE"]
        check("no console error after interaction", not late, json.dumps(late)[:400])

        if args.screenshots:
            driver.run("document.querySelector('#all-graph .graph-view').value = 'all';"
                       "document.querySelector('#all-graph .graph-view').dispatchEvent(new Event('change'));"
                       "var s = document.querySelector('#all-graph .graph-sig'); s.value = 4;"
                       "s.dispatchEvent(new Event('input'));")
            shots = {"graph-all.png": "#all-graph",
                     "graph-top.png": ".figure.system-graph",
                     "series-plot.png": "figure.chart-object",
                     "table.png": "figure.table-object:nth-of-type(1)",
                     "forecast-table.png": "#o" + str(driver.run(
                         "var f = Array.prototype.find.call(document.querySelectorAll('figure.table-object'),"
                         " function (t) { return t.querySelector('th br'); }); return f.id.slice(1);")),
                     "impact.png": ".figure.impact",
                     "rca.png": ".figure.impact.root-cause-analysis",
                     "distribution.png": ".figure.distribution"}
            for name, css in shots.items():
                driver.screenshot(driver.find(css), os.path.join(args.screenshots, name))

        if apply_page:
            check_model_report(driver, check, os.path.join(work, "model.html"), args.screenshots)
            check_apply_report(driver, check, apply_page, args.screenshots)
    finally:
        driver.quit()
        shutil.rmtree(work, ignore_errors=True)

    passed = sum(1 for ok in results if ok)
    failed = len(results) - passed
    print("%d passed, %d failed" % (passed, failed))
    return 0 if failed == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
