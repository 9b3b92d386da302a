"""Decodes reports as the page does, and compares them with what the engine gives: report.py TOOL"""

import base64
import contextlib
import gzip
import json
import math
import os
import pty
import re
import struct
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree
from pathlib import Path

TOOL, ROOT = Path(sys.argv[1]).absolute(), Path(__file__).parents[1]
failures = []


def expect(name, found, expected):
    if found != expected:
        failures.append(f"{name}: found\n{str(found)[:2000]}\nwhere expected was\n{str(expected)[:2000]}")


def tool(*arguments, **more):
    done = subprocess.run([TOOL, *arguments], capture_output=True, text=True, timeout=100, **more)
    return done.returncode, done.stdout, done.stderr


def column(data, place, count, code):
    """A column of bytes in planes, and what comes behind it."""
    size = struct.calcsize("<" + code)
    planes = [data[place + i * count : place + (i + 1) * count] for i in range(size)]
    return struct.unpack(f"<{count}{code}", bytes(byte for item in zip(*planes) for byte in item)), place + size * count


class Report:
    def __init__(self, page):
        text = page.read_text()
        elements = dict(re.findall(r'<script type="application/[a-z-]+" id="([^"]+)">(.*?)</script>', text, re.S))
        self.picture = xml.etree.ElementTree.fromstring(text[text.index("<svg") : text.index("</svg>") + 6])
        self.data = json.loads(elements["kelvane-report"])
        self.chunks = {name: gzip.decompress(base64.b64decode(element, validate=True)) for name, element in elements.items() if name != "kelvane-report"}
        self.times = column(self.chunks[self.data["times"]], 0, self.data["batches"], "d")[0]

    def values(self, series):
        """Pairs of batch and value."""
        data, count, place = self.chunks[series["chunk"]], series["count"], 0
        batches = range(count)
        if not series.get("dense"):
            batches, place = column(data, 0, count, "I")
        components = []
        for _ in range(series["components"]):
            numbers, place = column(data, place, count, {"float": "d", "integer": "q", "boolean": "B", "text": "I"}[series["encoding"]])
            components.append(numbers)
        if series["encoding"] == "text":
            texts = []
            for length in components[0]:
                texts.append(data[place : place + length].decode())
                place += length
            components = [texts]
        expect("bytes behind a series", len(data), place)
        return list(zip(batches, zip(*components)))


def made(folder, diagram, recording, *options, status=0):
    page = Path(folder) / "report.html"
    page.unlink(missing_ok=True)
    found, output, messages = tool("report", diagram, recording, "-o", page, *options)
    expect(f"status of {diagram}: {messages}", (found, output), (status, ""))
    return Report(page), messages


def tapped(line, series):
    """A line of run's results as a report has it."""
    value = next(content for key, content in line.items() if key not in ("timestamp", "name"))
    numbers = [value[name] for name in series["names"]] if "names" in series else [value]
    kind = {"float": float, "text": str}.get(series["encoding"], int)
    return float(line["timestamp"]), tuple(math.nan if number is None else kind(number) for number in numbers)


def shown(number):
    """As results write it, which have null for what is not finite."""
    return math.nan if isinstance(number, float) and not math.isfinite(number) else number


def wholeNumber(text):
    return -0.0 if text == "-0" else int(text)


def compareWithTaps(folder, title, diagram, recording):
    """Every number, bit by bit: both are decimals that read back exactly, or the bytes themselves."""
    report, _ = made(folder, diagram, recording, "-q")
    data, names = report.data, {}
    taps = [f"--tap=#{node['id']}" for node in data["nodes"] if "series" in node]
    lines = [json.loads(line, parse_int=wholeNumber) for line in tool("run", diagram, recording, "--no-inputs", "-q", *taps)[1].splitlines()]
    for line in lines:
        names.setdefault(line["name"], []).append(line)
    profile = Path(folder) / "profile.json"
    tool("run", diagram, recording, "-q", "-o", os.devnull, "--profile-json", profile)
    counts = sorted((row["runs"], row["emissions"]) for row in json.loads(profile.read_text())["nodes"])
    functions = [node for node in data["nodes"] if node["kind"] == "function"]
    expect(f"{title}: runs", sorted((node["runs"], node["emissions"]) for node in functions), counts)
    compared = 0
    for node in data["nodes"]:
        if "series" not in node:
            expect(f"{title}: a node without values", node["emissions"] if node["kind"] != "constant" else 0, 0)
            continue
        series = data["series"][node["series"]]
        expect(f"{title}: the series of #{node['id']}", (series["node"], series["count"]), (node["id"], node["emissions"]))
        last = {batch: value for batch, value in report.values(series)}
        found = [(report.times[batch], tuple(map(shown, value))) for batch, value in last.items()]
        expected = [tapped(line, series) for line in names.get(f"#{node['id']}", [])]
        if series["encoding"] == "text":
            # Of texts and lists the page has excerpts.
            found, expected = [time for time, _ in found], [time for time, _ in expected]
        expect(f"{title}: the values of #{node['id']}", [*map(repr, found)], [*map(repr, expected)])
        compared += len(found)
    return compared


def examples(folder):
    for diagram in sorted(ROOT.glob("examples/**/diagram.kelvane")):
        recording = diagram.with_name("recording.jsonl")
        if not recording.exists():
            # It is not a part of the sources, and stands somewhere above them, or nowhere.
            path = re.search(r"--recording (\S+)", diagram.with_name("options").read_text())[1]
            recording = next((above / path for above in diagram.parents if (above / path).exists()), None)
        if recording and compareWithTaps(folder, diagram.parent.name, diagram, recording) == 0:
            failures.append(f"{diagram.parent.name}: nothing was compared")


def values(folder):
    """Every kind of value, and texts that would end the page's own elements."""
    diagram, recording = Path(folder) / "kinds.kelvane", Path(folder) / "kinds.jsonl"
    label = "</script><b>"
    diagram.write_text(f"x: Float\nt: String\nlist: Float array\ntimes: Sequence\n`{label}`: Float = Divide(x, `divisor`)\n`divisor` = 2.0\nword: String = t\n"
                       "numbers: Float array = list\nlast: Float\nlast: Float = Negate(x)\n")
    long, text = [float(i) for i in range(100000)], "<!-- é" + "ü" * 200
    lines = [("x", "floatValue", -0.0), ("t", "stringValue", text), ("list", "floatArrayValue", long), ("list", "floatArrayValue", [0.5]),
             ("times", "sequenceValue", [{"t": 1, "f": 2}]), ("x", "floatValue", 3)]
    recording.write_text("".join(json.dumps({"timestamp": i + 1, "name": name, key: value}) + "\n" for i, (name, key, value) in enumerate(lines)))
    report, messages = made(folder, diagram, recording, "--set", "divisor=-4")
    nodes = {(node["kind"], node["name"]): node for node in report.data["nodes"]}
    expect("warnings are the page's, too", [f"kelvane: warning: {line}" for line in report.data["warnings"]], messages.splitlines())
    expect("times", (report.data["begin"], report.data["end"], report.times), (1, 6, (1, 2, 3, 4, 5, 6)))
    expect("a constant of --set", nodes["constant", "divisor"]["constant"], "-4.0")
    for node, expected in [
        (("output", label), [(0, (0.0,)), (5, (-0.75,))]),
        (("output", "word"), [(1, (text[:102] + "…",))]),
        (("output", "numbers"), [(2, ("[" + ", ".join(f"{i}.0" for i in range(35)) + ", … 100000 values]",)), (3, ("[0.5]",))]),
        (("stream", "times"), [(4, ("[(t: 1.0, f: 2.0)]",))]),
        (("stream", "last"), [(0, (0.0,)), (5, (-3.0,))]),
    ]:
        expect(f"the values of {node}", repr(report.values(report.data["series"][nodes[node]["series"]])), repr(expected))


def faults(folder):
    """What went wrong is said, and what went well before is there."""
    diagram, recording = Path(folder) / "d.kelvane", Path(folder) / "r.jsonl"
    diagram.write_text("x: Integer\ny: Integer = Multiply(x, x)\nodd: Integer = Add(x, _)\n")
    lines = ['{"timestamp":%d,"name":"x","integerValue":%s}\n' % (i, x) for i, x in enumerate((1, 2, "oops", 4))]
    for title, text, options, messages, batches in [
        ("an invalid line", "".join(lines), [], "r.jsonl:3:", 2),
        ("a line that is skipped", "".join(lines), ["--keep-going"], "1 invalid line was skipped", 3),
        ("a diagram that stops", lines[0] + lines[1].replace("2}", "4000000000}") + lines[3], [], "stopped in batch 2", 2),
    ]:
        recording.write_text(text)
        report, found = made(folder, diagram, recording, *options, status=1)
        expect(f"{title}: batches", report.data["batches"], batches)
        if messages not in found or messages not in report.data.get("stopped", ""):
            failures.append(f"{title}: found {found} and {report.data.get('stopped')}")
        expect(f"{title}: findings", [(each["code"], each["place"]) for each in report.data["findings"]], [("never-runs", "d.kelvane:3:16"), ("input-unconnected", "d.kelvane:3:23")])
    recording.write_text("")
    report, _ = made(folder, diagram, recording, "-q")
    expect("nothing", (report.data["begin"], report.data["quiet"][0]["causes"][-1]["code"]), (0, "never-updated"))
    program, opened = Path(folder) / "browser", Path(folder) / "opened"
    program.write_text(f'#!/bin/sh\necho "$1" >{opened}\n')
    program.chmod(0o755)
    page = Path(folder) / "-$(x) page.html"
    for browser, expected, message in [(f"/none:{program}", str(page), False), ("/none", "", True)]:
        opened.write_text("")
        found = tool("report", "d.kelvane", "r.jsonl", "-q", "-o", "./" + page.name, "--open", cwd=folder, env={"BROWSER": browser, "PATH": "/none"})
        shown = os.path.normpath(opened.read_text().strip()) if expected else opened.read_text()
        expect(f"--open with {browser}", (found[0], shown, "no browser" in found[2]), (0, expected, message))
    for arguments, message in [
        (["d.kelvane", "r.jsonl"], "--output is required"),
        (["d.kelvane", "r.jsonl", "-o", "r.jsonl"], "r.jsonl"),
        (["-", "-o", "x.html"], "cannot both be standard input"),
        (["d.kelvane", "r.jsonl", "-o", "-", "--open"], "-o FILE was expected"),
        (["d.kelvane", "r.jsonl", "-o", "x.html", "--set", "y=1"], "no constant is called"),
    ]:
        status, _, messages = tool("report", *arguments, cwd=folder)
        if status != 2 or message not in messages:
            failures.append(f"report {arguments}: found {status} {messages}")


def progress(folder):
    """Long work says on a terminal how far it is, and nothing elsewhere."""
    diagram, target = Path(folder) / "p.kelvane", Path(folder) / "p.out"
    diagram.write_text("x: Float\ny: Float = Negate(x)\n")
    lines = ['{"timestamp":%d,"name":"x","floatValue":1}\n' % i for i in range(10000)]
    started = []
    for command in ["run", diagram], ["report", diagram], ["plot"], ["convert", "--from", "recording", "--to", "csv"], ["report", "-q", diagram]:
        terminal, end = pty.openpty()
        started.append((command, terminal, subprocess.Popen([TOOL, *command, "-o", f"{target}{len(started)}"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=end)))
        os.close(end)
    for half in lines[:100], lines[100:]:
        for _, _, process in started:
            process.stdin.write("".join(half).encode())
            process.stdin.flush()
        time.sleep(1.2)
    for command, terminal, process in started:
        process.stdin.close()
        status, shown = process.wait(timeout=60), b""
        with contextlib.suppress(OSError):
            while piece := os.read(terminal, 4096):
                shown += piece
        os.close(terminal)
        expect(f"progress of {command}", (status, b"standard input: " in shown and b" updates" in shown), (0, "-q" not in command))


def main():
    with tempfile.TemporaryDirectory() as folder:
        examples(folder)
        values(folder)
        faults(folder)
        progress(folder)
    print("\n".join(failures) or "all as expected")
    sys.exit(1 if failures else 0)


main()
