"""Runs the tool on measurements in other forms and compares what comes out with what should: conversions.py TOOL"""

import gzip
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

TOOL, ROOT = Path(sys.argv[1]).absolute(), Path(__file__).resolve().parent.parent
failures = []


def run(*arguments, input=b""):
    """Status, output and messages; the tool is given no more than 2 GB, unless a sanitizer needs them all."""
    limit = [] if os.environ.get("KELVANE_SANITIZE") else ["sh", "-c", 'ulimit -v 2000000; exec "$@"', "-"]
    outcome = subprocess.run([*limit, TOOL, *map(str, arguments)], input=input if isinstance(input, bytes) else input.encode(),
                             capture_output=True, timeout=100)
    return outcome.returncode, outcome.stdout.decode(errors="surrogateescape"), outcome.stderr.decode(errors="surrogateescape")


def expect(name, found, expected):
    if found != expected:
        failures.append(f"{name}: found\n{found}\nwhere expected was\n{expected}")


def line(timestamp, name, value):
    return f'{{"timestamp":{timestamp},"name":"{name}",{value}}}\n'


# One of every type, and what only results hold.
values = ['"floatValue":0.1', '"integerValue":9007199254740993', '"booleanValue":true', '"stringValue":"a, \\"b\\"\\n"',
          '"vectorValue":{"x":1,"y":-0.0,"z":1e-07}', '"orientationValue":{"x":0,"y":0.5,"z":1,"w":2}', '"sequenceValue":[{"t":0,"f":1},{"t":0.5,"f":2}]',
          '"floatArrayValue":[1,2.5]', '"integerArrayValue":[]', '"booleanArrayValue":[true,false]', '"stringArrayValue":["a;b",""]',
          '"vectorArrayValue":[{"x":1,"y":2,"z":3}]', '"orientationArrayValue":[{"x":0,"y":0,"z":0,"w":1}]', '"sequenceArrayValue":[[{"t":0,"f":1}],[]]']
everyType = "".join(line(second, f"s{i}", value) for second in (0.5, 1.25) for i, value in enumerate(values)) + line(2, "s0", '"floatValue":null')


def compressed(folder):
    """Compressed recordings read as what they hold; damage is reported, and what stands before it is kept."""
    text = "".join(line(i / 8, "heart rate", f'"floatValue":{60 + i % 7}') for i in range(20000)).encode()
    diagram, plain = ROOT / "examples/smoothing/diagram.kelvane", folder / "r"
    plain.write_bytes(text)
    expected = run("run", diagram, plain)
    packed = {"gzip": gzip.compress(text)}
    if shutil.which("zstd"):
        packed["zstd"] = subprocess.run(["zstd", "-q"], input=text, capture_output=True, check=True).stdout
    for kind, data in packed.items():
        expect(f"{kind} from a pipe", run("run", diagram, input=data) == expected, True)
        expect(f"{kind} in two parts", run("run", diagram, input=data + data)[1].count("\n") > len(expected[1].splitlines()), True)
        file = folder / f"r.jsonl.{kind}"
        file.write_bytes(data[:len(data) * 2 // 3])
        status, output, messages = run("run", diagram, file)
        expect(f"{kind} that was cut off", (status, messages, expected[1].startswith(output), len(output) > len(expected[1]) // 4),
               (1, f"{file}: the {kind} data breaks off at byte {len(data) * 2 // 3}, where the file ends: it was cut off\n", True, True))
        expect(f"{kind} is a recording", run("info", file)[1].startswith(f"{file}: "), True)
        expect(f"a check of {kind}", run("check", diagram, "--recording", file)[0::2], (1, ""))
        file.write_bytes(data[:len(data) // 2] + b"damaged here" + data[len(data) // 2 + 12:])
        expect(f"{kind} that is damaged", run("run", diagram, file)[0], 1)
    expect("behind gzip", run("run", diagram, input=packed["gzip"] + b"more")[2],
           f"standard input: the gzip data is damaged at about byte {len(packed['gzip']) + 2} of the file: incorrect header check\n")


def results(folder):
    """What a run writes is a recording."""
    types = ["Float", "Integer", "Boolean", "String", "Vector", "Orientation", "Sequence"]
    diagram = folder / "all.kelvane"
    diagram.write_text("".join(f"s{i}: {kind}\n" for i, kind in enumerate(types)) +
                       "".join(f"s{i + 7}: {kind} array\n" for i, kind in enumerate(["Float", "Integer", "Boolean", "String", "Vector", "Orientation", "Sequence"])))
    status, output, messages = run("run", diagram, input=everyType)
    expect("results of every type", (status, messages, sorted(output.splitlines())), (0, "", sorted(everyType.splitlines()[:-1])))
    expect("results as a recording", run("run", diagram, input=output), (0, output, ""))


def summaries():
    text = "".join(line(second, "v", value) for second, value in [
        (0, '"floatValue":1'), (1, '"floatValue":-2.5'), (1, '"floatValue":null'), (2, '"floatValue":7'), (3, '"floatValue":7'), (9, '"floatValue":7'),
        (8.5, '"integerValue":3')]) + line(8.5, "p", '"vectorValue":{"x":1,"y":2,"z":3}') + line(8.5, "s", '"stringValue":"abc"')
    expect("a summary", run("info", "-", input=text), (0, """\
standard input: 9 updates of 3 streams in 6 batches, 9 s from 0.0 to 9.0, time goes back 1 time, first in line 7
  stream  type            updates  rate  range
  v       Float, Integer  7        1 Hz  -2.5 to 7.0
    1 gap, the longest 6 s, behind 3.0
    1 repeated time, first in line 3
    1 time before the one in front of it, first in line 7
    1 update without a value, first in line 3
  p       Vector          1              (1, 2, 3) to (1, 2, 3)
  s       String          1              3 to 3 bytes
""", ""))
    summary = json.loads(run("info", "-", "--json", input=text)[1])
    expect("a summary in JSON", [(stream["name"], stream["types"], stream["gaps"]["count"], stream["range"][0]["most"]) for stream in summary["streams"]],
           [("v", {"Float": 6, "Integer": 1}, 1, 7), ("p", {"Vector": 1}, 0, 1), ("s", {"String": 1}, 0, 3)])
    expect("no recording", run("info", "-")[:2], (0, "standard input: 0 updates of 0 streams in 0 batches\n"))
    expect("a recording that ends", run("info", "-", input=text + "{")[0::2], (1, "standard input:10:2: the recording ends within this line\n"))


def main():
    summaries()
    for part in compressed, results:
        with tempfile.TemporaryDirectory() as folder:
            part(Path(folder))
    print(*failures, f"{len(failures)} failures", sep="\n")
    sys.exit(bool(failures))


if __name__ == "__main__":
    main()
