#!/usr/bin/env python3
"""Renders the picture of a scenario's run in headless Chromium and checks the marks in
the DOM the browser built against the same run's transcript: per host one launch mark
per launch line and one close mark per closed Varno window, every hover title a line of
the transcript, and a relaunch after each lapse-driven close drawn after it.

usage: report_in_browser.py VARNO_SIM SCENARIO WORK_DIR   (exit 77: no chromium here)
"""
import html.parser
import os
import shutil
import subprocess
import sys
import tempfile
from collections import Counter, defaultdict

SKIP = 77


class Marks(html.parser.HTMLParser):
    """Every element of class "mark ..." with its host and the text of its <title>."""

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.marks = []  # (kind, host, title)
        self.hosts = []  # hosts with a timeline
        self._open = None
        self._in_title = False

    def handle_starttag(self, tag, attrs):
        a = dict(attrs)
        classes = (a.get("class") or "").split()
        if tag == "svg" and "host" in classes:
            self.hosts.append(a.get("data-host"))
        if "mark" in classes:
            kind = [c for c in classes if c != "mark"][0]
            self._open = [kind, a.get("data-host"), ""]
        elif tag == "title" and self._open is not None:
            self._in_title = True

    def handle_data(self, data):
        if self._in_title:
            self._open[2] += data

    def handle_endtag(self, tag):
        if tag == "title":
            self._in_title = False
        elif self._open is not None and tag in ("polygon", "path", "line", "circle"):
            self.marks.append(tuple(self._open))
            self._open = None


def chromium(args, profile):
    exe = shutil.which("chromium") or shutil.which("chromium-browser")
    flags = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
             "--no-first-run", "--disable-background-networking",
             "--disable-component-update", "--disable-sync", "--hide-scrollbars",
             "--user-data-dir=" + profile]
    return subprocess.run([exe] + flags + args, capture_output=True, text=True, timeout=60,
                          check=True).stdout


def main():
    sim, scenario, work = sys.argv[1:4]
    if not (shutil.which("chromium") or shutil.which("chromium-browser")):
        print("SKIP: chromium is not installed (scripts/setup-deps installs it)")
        return SKIP
    os.makedirs(work, exist_ok=True)
    page = os.path.join(work, "report.html")
    shot = os.path.join(work, "report.png")
    for f in (page, shot):
        if os.path.exists(f):
            os.remove(f)
    run = subprocess.run([sim, "--report", page, scenario], capture_output=True, text=True,
                         check=True)
    transcript = run.stdout.splitlines()

    text = open(page, encoding="utf-8").read()
    for outside in ("<script", "src=", "href=", "url(", "@import"):
        assert outside not in text, "the page reaches outside itself: " + outside

    with tempfile.TemporaryDirectory() as profile:
        dom = chromium(["--dump-dom", "file://" + os.path.abspath(page)], profile)
    with tempfile.TemporaryDirectory() as profile:
        chromium(["--window-size=1140,720", "--screenshot=" + shot,
                  "file://" + os.path.abspath(page)], profile)
    with open(shot, "rb") as f:
        assert f.read(8) == b"\x89PNG\r\n\x1a\n", "no screenshot written"

    parsed = Marks()
    parsed.feed(dom)
    failures = []

    def check(ok, what):
        if not ok:
            failures.append(what)

    # What the transcript says, host by host.
    fields = [line.split(" ", 3) for line in transcript]
    hosts = list(dict.fromkeys(f[1] for f in fields if len(f) == 4 and f[1] != "-"))
    launches = defaultdict(list)
    closes = defaultdict(list)
    for line, f in zip(transcript, fields):
        if len(f) < 4:
            continue
        if f[2] == "launch":
            launches[f[1]].append(line)
        if f[2] == "window" and f[3].endswith(' closed "Varno"'):
            closes[f[1]].append(line)

    check(parsed.hosts == hosts, "timelines %s, transcript hosts %s" % (parsed.hosts, hosts))
    drawn = defaultdict(list)
    for kind, host, title in parsed.marks:
        drawn[(kind, host)].append(title)
    for host in hosts:
        check(drawn[("launch", host)] == launches[host],
              "%s: launch marks %s, launch lines %s" % (
                  host, drawn[("launch", host)], launches[host]))
        check(drawn[("close", host)] == closes[host],
              "%s: close marks %s, closed windows %s" % (
                  host, drawn[("close", host)], closes[host]))
        # A close is followed by a relaunch in this scenario's story.
        for c in closes[host]:
            check(any(l > c for l in launches[host]), "%s: no launch after %s" % (host, c))
    check(any(closes.values()), "the scenario closes Varno nowhere")
    lines = set(transcript)
    for kind, host, title in parsed.marks:
        check(title in lines, "%s mark on %s: title is no transcript line: %r" % (
            kind, host, title))
    print("%d marks on %d hosts: %s" % (
        len(parsed.marks), len(hosts), dict(Counter(k for k, _, _ in parsed.marks))))
    for f in failures:
        print("FAIL: " + f)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
