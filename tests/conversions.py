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


def tables():
    """Each row: options, a table, and the recording or the message that comes of it."""
    x = lambda timestamp, value, name="x": line(timestamp, name, f'"floatValue":{value}')
    point = lambda timestamp, name, values: line(timestamp, name, '"vectorValue":' + (values and '{"x":%s,"y":%s,"z":%s}' % values or "null"))
    comma = "decimals are written with a comma here; a point was expected: export the table with English numbers"
    for options, table, expected in [
            ("", "time,x\n0,1\n0.5,-0.30000000000000004\n", x(0, 1) + x(0.5, "-0.30000000000000004")),
            ("", "\ufefftime;x\r\n1;2,0", f'standard input:2: column "x": "2,0": {comma}\n'),
            ("", "time;x\n1,5;2", f'standard input:2: column "time": "1,5": {comma}\n'),
            ("", "time,x\n1,2,5\n", "standard input:2: the row has 3 fields, the header 2; are decimals written with a comma?\n"),
            ("", "x\tTime (ms)\t\n 1 \t1500\t\n\n\t1501\t\nNaN\t1502\t\n", x(1.5, 1) + x(1.502, "null")),
            ("", "t,acc.x,acc.y,acc.z,acc.q\n1,1,2,3,4\n2,1,,3,\n", point(1, "acc", (1, 2, 3)) + x(1, 4, "acc.q") + point(2, "acc", None)),
            ("", "t,Acc X (g),Acc Y (g),Acc Z (g),gX,gY,gZ,b.x,b.y\n1,1,2,3,4,5,6,7,8\n",
             point(1, "Acc", (1, 2, 3)) + point(1, "g", (4, 5, 6)) + x(1, 7, "b.x") + x(1, 8, "b.y")),
            ("", "t,q.w,q.x,q.y,q.z\n1,1,2,3,4\n", line(1, "q", '"orientationValue":{"x":2,"y":3,"z":4,"w":1}')),
            ("", "timestamp,x\n2024-02-29T12:00:00.25Z,1\n2024-02-29 13:00:00.5+01:00,2\n", x(1709208000.25, 1) + x(1709208000.5, 2)),
            ("--from-zero", "time_ns,x\n1700000000123456789,1\n1700000000123456790,2\n", x(0, 1) + x("1e-09", 2)),
            ("--from-zero --time-unit us", "time,x\n1700000000123456,1\n1700000000223457,2\n", x(0, 1) + x(0.100001, 2)),
            ("", "time,x\n2024-02-30T25:00Z,1\n", 'standard input:2: column "time": "2024-02-30T25:00Z": this is no time: a number was expected, or a date such as 2024-05-01T12:00:00Z\n'),
            ("--time at", "a,at\n1,2\n", x(2, 1, "a")), ("--rate 4", "a\n1\n2\n", x(0, 1, "a") + x(0.25, 2, "a")),
            ("--time art", "a,at\n1,2\n", 'standard input:1: no column is called "art" (--time); did you mean "at"?\n'),
            ("", "a,b\n1,2\n", 'standard input:1: no column is called "time" or the like, but a, b; --time COLUMN names one, and --rate HZ does without\n'),
            ("--skip-lines 2 --header t,x", "a;b\n\"\n1,2\n", x(1, 2)),
            ("", "1,2\n3,4\n", 'standard input:1: the first line has numbers; the columns\' names were expected, or --header "time,a,b"\n'),
            ("", 't,"a ""b"", \nc",d\n1,"x\n,",TRUE\n', line(1, 'a \\"b\\", \\nc', '"stringValue":"x\\n,"') + line(1, "d", '"booleanValue":true')),
            ("", 't,a\n1,"b\nc\n', "standard input:2: a quote that opens in this row is not closed\n"),
            ("", 't,a\n1,"b"c\n', "standard input:2: something stands behind the closing quote of a field; quotes in a field are doubled\n"),
            ("", "t,x\n1,2\n2,y\n", 'standard input:3: column "x": "y": this is no Float, which the values before it are; --types "x=String" reads texts\n'),
            ("--types x=integer --types y=Boolean", "t,x,y\n1,9007199254740993,1\n",
             line(1, "x", '"integerValue":9007199254740993') + line(1, "y", '"booleanValue":true')),
            ("", "t,x,x\n1,2,3\n", 'standard input:1: two columns are called "x"\n'), ("--from csv", "", "standard input: the table is empty\n"),
            ("", "t,name,value\n1,a,2\n1,b,true\n2,a,\n", x(1, 2, "a") + line(1, "b", '"booleanValue":true') + x(2, "null", "a")),
            ("", "t,x\n1,\0\n", "standard input:2: there is a zero byte: this is no text\n"),
            ("--types x=Flot", "", 'kelvane: --types x=Flot: no type is called "Flot"; there are Float, Integer, Boolean, Vector, Orientation, String, '
             "Sequence, Float array, Integer array, Boolean array, String array, Vector array, Orientation array, Sequence array\n"),
            ("--to gpx", everyType, "kelvane: gpx is only read; there are recording, csv, mcap to write\n"),
            ("--to cvs", "", "kelvane: --to cvs: one of recording, csv, mcap, gpx, edf was expected\n"),
            ("", everyType.replace("s1", "s0"), 'kelvane: the values of "s0" are of type Float, and from time 0.5 on Integer, which no column holds; --layout long writes a row for each value\n'),
            ("", x(1, 2, "a.x") + x(1, 2, "a.y") + x(1, 2, "a.z"), 'kelvane: a column called "a.x" would read back as another stream; --layout long has no such columns\n')]:
        status, output, messages = run("convert", *options.split(), input=table)
        expect(f"convert {options} of {table[:60]!r}", (output + messages, status != 0), (expected, output == ""))
    table = "time,v.x,v.y,v.z,x,n,s\n1,1,-0,1e-07,0.1,1,\"a, \"\"b\"\"\"\n1.5,,,,2,3,\n1.5,,,,4,,\n"
    expect("a wide table and back", run("convert", "--to", "csv", input=table), (0, table, ""))
    expect("a table with semicolons", run("convert", "--separator", ";", input=x(1, 2) + line(1, "s", '"stringValue":"a;b"'))[1], 'time;x;s\n1;2;"a;b"\n')


def canonical(text, *options):
    return run("convert", "--to", "recording", *options, input=text)


def roundTrips(folder):
    """What goes to another form comes back as it was."""
    long = run("convert", "--layout", "long", input=everyType)
    expect("every type in a long table", canonical(long[1]), (0, everyType, ""))
    recordings = next((parent / "shared/data" for parent in ROOT.parents if (parent / "shared/data").is_dir()), ROOT / "none")
    for path in [*sorted(recordings.glob("*.jsonl")), ROOT / "examples/steps/recording.jsonl"]:
        text = canonical(path.read_bytes())
        expect(f"{path.name} itself", (text[0], text[1].count("\n")), (0, path.read_bytes().count(b"\n")))
        for name, options in [("wide.csv", []), ("long.csv", ["--layout", "long"])]:
            expect(f"{path.name} to {name}", run("convert", path, "-o", folder / name, *options), (0, "", ""))
            expect(f"{path.name} from {name}", run("convert", folder / name) == text, True)


def merging(folder):
    for sensor, second in ("gyro", 0.5), ("acc", 0.25):
        (folder / f"{sensor}.csv").write_text(f"time,x,y,z\n{second},1,2,3\n{second + 1},4,5,6\n")
    first = [f'{second},"name":"{name}"' for second, name in ((0.25, "acc"), (0.5, "gyro"), (1.25, "acc"), (1.5, "gyro"))]
    expect("several sensors", [row[13:].split(",\"vector")[0] for row in run("convert", folder / "gyro.csv", folder / "acc.csv")[1].splitlines()], first)


def main():
    summaries()
    tables()
    for part in compressed, results, roundTrips, merging:
        with tempfile.TemporaryDirectory() as folder:
            part(Path(folder))
    print(*failures, f"{len(failures)} failures", sep="\n")
    sys.exit(bool(failures))


if __name__ == "__main__":
    main()
