"""Draws recordings and reads the pictures back: plot.py TOOL"""

import gzip
import json
import math
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree
from pathlib import Path

TOOL = Path(sys.argv[1]).absolute()
KEYS = {float: "floatValue", bool: "booleanValue", int: "integerValue", str: "stringValue"}
failures = []


def expect(name, found, expected):
    if found != expected:
        failures.append(f"{name}: found\n{found}\nwhere expected was\n{expected}")


def lines(name, points):
    """A recording of pairs of time and value."""
    for time, value in points:
        key = "vectorValue" if isinstance(value, dict) else KEYS.get(type(value), "floatValue")
        if isinstance(value, list):
            key = "sequenceValue" if value and isinstance(value[0], dict) else "floatArrayValue"
        yield json.dumps({"timestamp": time, "name": name, key: value}) + "\n"


class Plot:
    """What a picture shows, by the names of its panels."""

    def __init__(self, text):
        root = xml.etree.ElementTree.fromstring(text)
        tag = "{http://www.w3.org/2000/svg}"
        self.description = root.find(f"{tag}desc").text
        self.paths, self.texts = {}, {}
        for panel in root.iter(f"{tag}g"):
            name = panel.get("data-name")
            if name is None:
                continue
            self.paths[name] = [(path.get("class"), path.get("d")) for path in panel.iter(f"{tag}path")]
            self.texts[name] = [each.text for each in panel.iter(f"{tag}text") if each.get("class") != "value"]
        self.times = [each.text for each in root.findall(f"{tag}text")[1:]]
        self.size = [float(number) for number in root.get("viewBox").split()[2:]]

    def path(self, style, name="x"):
        return "".join(data for found, data in self.paths[name] if found == style)

    def points(self, style="line", name="x"):
        """The pieces of a line, each as its points; of steps, too."""
        pieces = []
        for letter, numbers in re.findall(r"([MLHVh])([-0-9. ]+)", self.path(style, name)):
            numbers = [float(number) for number in numbers.split()]
            x, y = pieces[-1][-1] if pieces else (0, 0)
            if letter == "M":
                pieces.append([tuple(numbers)])
            else:
                pieces[-1].append({"L": tuple(numbers), "H": (numbers[0], y), "V": (x, numbers[0]), "h": (x + numbers[0], y)}[letter])
        return pieces

    def ticks(self, name="x"):
        return self.texts[name][1:]


def plot(recording, *options, status=0, files=()):
    done = subprocess.run([TOOL, "plot", *files, *options], input=recording, capture_output=True, timeout=100)
    if done.returncode != status or (status == 0 and done.stderr):
        failures.append(f"plot {options}: status {done.returncode}, {done.stderr.decode()}")
    return Plot(done.stdout.decode()) if done.stdout else done.stderr.decode()


def plotOf(points, *options):
    return plot("".join(lines("x", points)).encode(), *options)


def decimation():
    """What a million values have that is out of the way is drawn where it is, and the picture stays small."""
    count, spike, hole = 1_000_000, 654_321, range(200_000, 210_000)
    text = "".join(f'{{"timestamp":{i / 1000},"name":"x","floatValue":{50 if i == spike else i % 2}}}\n' for i in range(count) if i not in hole)
    picture = plot(gzip.compress(text.encode(), 1), "--width", "900")
    pieces = picture.points()
    size = len(picture.path("line"))
    left, right = pieces[0][0][0], pieces[1][-1][0]
    (highest, where) = min((y, x) for piece in pieces for x, y in piece)
    lowest = max(y for piece in pieces for _, y in piece)
    unit = (lowest - highest) / 50
    expect("a spike's place", abs(where - (left + (right - left) * spike / count)) < 1, True)
    expect("the least and the most of every column", {round((lowest - y) / unit) for piece in pieces for _, y in piece}, {0, 1, 50})
    expect("a hole", [len(pieces), abs(pieces[1][0][0] - pieces[0][-1][0] - (right - left) * len(hole) / count) < 2], [2, True])
    expect(f"the size, {size}", size < 60_000, True)


def looks():
    """Title, values, and what is drawn of them: pieces of lines, as many points as each has."""
    wave = [(i / 10, math.sin(i)) for i in range(100)]
    window = [[{"t": i + j, "f": float((i + j) % 3)} for j in range(20)] for i in range(10)]
    for title, points, pieces in [
        ("a line", [(i, float(i % 3)) for i in range(20)], [20]),
        ("a pause", [(i if i < 50 else i + 40, 1.5) for i in range(100)], [50, 50]),
        ("numbers that are missing", [(i, None if i in (30, 60, 61) else float(i)) for i in range(100)], [30, 29, 38]),
        ("a value by itself", [(i, 1.5 if i == 50 or i < 10 else None) for i in range(100)], [10, 1]),
        ("time that goes back", wave + wave[:50], [100, 50]),
        ("windows that slide over a signal", [(i, window[i]) for i in range(10)], [29]),
        ("pieces of a signal", [(20 * i, [{"t": 20 * i + j, "f": 1.5} for j in range(20)]) for i in range(3)], [60]),
        ("one value", [(3, 2.5)], [1]),
        ("the largest numbers", [(i, 1.7e308 * (-1) ** i) for i in range(4)], [4]),
    ]:
        found = [len(piece) for piece in plotOf(points).points()]
        expect(title, found, pieces)
    steps = plotOf([(0, 1), (1, 3), (2, 3)])
    expect("integers are steps", re.sub("[0-9.]+", "#", steps.path("line")), "M# #H#V#H#")
    expect("few values are points", steps.path("points").count("h0"), 3)
    alone = plotOf([(i, 1.5 if i == 500 or i < 300 else None) for i in range(1000)])
    expect("a value by itself is a point", len(alone.points("points")), 1)
    expect("missing values are said", "699 values missing" in alone.texts["x"], True)
    vectors = plotOf([(i, {"x": 1, "y": i, "z": -i}) for i in range(5)])
    expect("components", [len(vectors.points(f"line c{i}")[-1]) for i in range(3)], [5, 5, 5])
    expect("elements", plotOf([(i, [1.5] * i) for i in range(5)]).ticks()[:6], ["number of elements", "0", "1", "2", "3", "4"])
    band = plotOf([(i, 200 <= i < 400 or i == 700) for i in range(1000)], "--width", "1052")
    bars = [[float(number) for number in re.findall("[0-9.]+", bar)[::2][:2]] for bar in band.path("true").split("M")[1:]]
    expect("true for a fifth, and once", [round(bars[0][1] / 10), len(bars) + band.path("mixed").count("M") >= 2], [20, True])
    words = plotOf([(i, "up" if i % 20 < 10 else "<b>down & out</b>") for i in range(60)])
    expect("texts", words.ticks(), ["up", "<b>down & out</b>"] * 3)
    expect("marks of many texts", plotOf([(i, f"{i}") for i in range(5000)]).path("mark").count("M") < 1000, True)


def axes():
    """The labels of an axis."""
    for least, most, expected in [
        (0, 10, "0 2 4 6 8 10"),
        (-1, 1, "−1.0 −0.5 0.0 0.5 1.0"),
        (0.001, 0.0042, "0.001 0.002 0.003 0.004"),
        (0, 4e9, "×10⁹ 0 1 2 3 4"),
        (0, 3e-7, "×10⁻⁹ 0 100 200 300"),
        (1e7, 1e7 + 3, "+ 10000000 0 1 2 3"),
        (98, 132, "100 110 120 130"),
    ]:
        found = plotOf([(0, float(least)), (1, float(most))]).ticks()
        expect(f"from {least} to {most}", " ".join(found), expected)
    for begin, end, expected in [
        (0, 10, "0 1 2 3 4 5 6 7 8 9 10 seconds"),
        (0.2, 900, "100 200 300 400 500 600 700 800 900 seconds"),
        (0, 7200, "0 20 40 60 80 100 120 minutes"),
        (0, 36000, "0 1 2 3 4 5 6 7 8 9 10 hours"),
        (0, 864000, "0 1 2 3 4 5 6 7 8 9 10 days"),
        (1714564800, 1714564801.2, "12:00:00.0 12:00:00.2 12:00:00.4 12:00:00.6 12:00:00.8 12:00:01.0 12:00:01.2 UTC, 2024-05-01"),
        (1714564790, 1714565400, "12:00 12:01 12:02 12:03 12:04 12:05 12:06 12:07 12:08 12:09 12:10 UTC, 2024-05-01"),
        (1714521600, 1714694400, "05-01 06:00 12:00 18:00 05-02 06:00 12:00 18:00 05-03 UTC, 2024-05-01 to 2024-05-03"),
        (1703980800, 1704499200, "2023-12-31 2024-01-01 2024-01-02 2024-01-03 2024-01-04 2024-01-05 2024-01-06 UTC, 2023-12-31 to 2024-01-06"),
    ]:
        found = plotOf([(begin, 0.0), (end, 1.0)]).times
        expect(f"times from {begin} to {end}", " ".join(found), expected)


def extremes():
    """What drives numbers to their limits still has a picture, of finite coordinates, and a small one."""
    for title, points in [
        ("the whole axis", [(-1.7e308, 1.0), (1.7e308, 2.0)]),
        ("the smallest numbers", [(0, 5e-324), (5e-324, 0.0)]),
        ("one time", [(5, float(i)) for i in range(100)]),
        ("large times close together", [(1e15 + i / 8, 1e15 + i / 8) for i in range(5)]),
        ("the largest integers", [(0, 2**63 - 1), (1, -(2**63))]),
        ("no values", [(i, None) for i in range(5)]),
        ("no samples", [(0, [{"t": 3, "f": None}, {"t": 1, "f": 2}]), (1, [{"t": 2, "f": 1}])]),
        ("a control character", [(0, "\0<")]),
        ("time that goes back often", [(i % 10, float(i)) for i in range(30000)]),
    ]:
        for options in [], ["--width", "200", "--height", "100"], ["--from", "-1", "--to", "1e-3"]:
            done = subprocess.run([TOOL, "plot", *options], input="".join(lines("x", points)), capture_output=True, text=True, timeout=20)
            if "draw between these times" in done.stderr:
                continue
            paths = Plot(done.stdout).paths["x"] if done.stdout else [("", f"nan: {done.stderr}")]
            expect(f"{title} {options}", [data for _, data in paths if re.search("nan|inf", data) or len(data) > 100_000], [])


def files(folder):
    first, second = Path(folder) / "first.jsonl", Path(folder) / "second.jsonl"
    first.write_text("".join([*lines("speed", [(i, float(i)) for i in range(50)]), *lines("on", [(1, True), (2, False)])]))
    second.write_text("".join([*lines("speed", [(i, 2.0) for i in range(80)]), *lines("on", [(3, True)]), *lines("name", [(1, "a")])]))
    both = plot(b"", files=[first, second])
    expect("panels", [*both.paths], ["speed", "on", "name"])
    expect("the second file's line", len(both.points("line later f1", "speed")[0]), 80)
    expect("a band for each", len(set(re.findall(r"M[0-9.]+ ([0-9.]+)h", both.path("known", "on")))), 2)
    expect("readers of the screen", "speed in second.jsonl (Float): 80 values, from 2.0 to 2.0." in both.description, True)
    chosen = plot(b"", "--name", "speed", "--from", "10", "--to", "20", "--height", "300", "--width", "500", files=[first])
    expect("a choice", ([*chosen.paths], len(chosen.points(name="speed")[0]), chosen.size, chosen.times[0]), (["speed"], 11, [500, 300], "10"))
    broken = Path(folder) / "broken.jsonl"
    broken.write_text(first.read_text() + "{")
    whole = plot(b"", files=[broken], status=1)
    expect("what stands before a fault", len(whole.points(name="speed")[0]), 50)
    for options, status, message in [
        (["--name", "sped"], 2, 'did you mean "speed"?'),
        (["--theme", "blue"], 2, "auto|light|dark was expected"),
        (["--from", "5", "--to", "4"], 2, "--from"),
        (["--width", "10"], 2, "200 or more"),
        (["-o", first], 2, "first.jsonl"),
        (["--from", "100"], 1, "the values are from t = 0.0 to 49.0"),
    ]:
        found = plot(b"", *options, files=[first], status=status)
        if message not in found:
            failures.append(f"plot {options}: found {found}")
    if "nothing to draw" not in plot(b"", status=1):
        failures.append("an empty recording is drawn")


def main():
    decimation()
    looks()
    axes()
    extremes()
    with tempfile.TemporaryDirectory() as folder:
        files(folder)
    print("\n".join(failures) or "all as expected")
    sys.exit(1 if failures else 0)


main()
