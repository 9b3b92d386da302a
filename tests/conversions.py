"""Runs the tool on measurements in other forms and compares what comes out with what should: conversions.py TOOL"""

import gzip
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from random import Random

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
        failures.append(f"{name}: found\n{str(found)[:3000]}\nwhere expected was\n{str(expected)[:3000]}")


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
    expected = run("run", "-q", diagram, plain)
    packed = {"gzip": gzip.compress(text)}
    if shutil.which("zstd"):
        packed["zstd"] = subprocess.run(["zstd", "-q"], input=text, capture_output=True, check=True).stdout
    for kind, data in packed.items():
        expect(f"{kind} from a pipe", run("run", "-q", diagram, input=data) == expected, True)
        expect(f"{kind} in two parts", run("run", "-q", diagram, input=data + data)[1].count("\n") > len(expected[1].splitlines()), True)
        file = folder / f"r.jsonl.{kind}"
        file.write_bytes(data[:len(data) * 2 // 3])
        status, output, messages = run("run", "-q", diagram, file)
        expect(f"{kind} that was cut off", (status, messages, expected[1].startswith(output), len(output) > len(expected[1]) // 4),
               (1, f"{file}: the {kind} data breaks off at byte {len(data) * 2 // 3}, where the file ends: it was cut off\n", True, True))
        expect(f"{kind} is a recording", run("info", file)[1].startswith(f"{file}: "), True)
        expect(f"a check of {kind}", run("check", diagram, "--recording", file)[0::2], (1, ""))
        file.write_bytes(data[:len(data) // 2] + b"damaged here" + data[len(data) // 2 + 12:])
        expect(f"{kind} that is damaged", run("run", "-q", diagram, file)[0], 1)
    expect("behind gzip", run("run", "-q", diagram, input=packed["gzip"] + b"more")[2],
           f"standard input: the gzip data is damaged at about byte {len(packed['gzip']) + 2} of the file: incorrect header check\n")


def results(folder):
    """What a run writes is a recording."""
    types = ["Float", "Integer", "Boolean", "String", "Vector", "Orientation", "Sequence"]
    diagram = folder / "all.kelvane"
    diagram.write_text("".join(f"s{i}: {kind}\n" for i, kind in enumerate(types)) +
                       "".join(f"s{i + 7}: {kind} array\n" for i, kind in enumerate(["Float", "Integer", "Boolean", "String", "Vector", "Orientation", "Sequence"])))
    status, output, messages = run("run", "-q", diagram, input=everyType)
    expect("results of every type", (status, messages, sorted(output.splitlines())), (0, "", sorted(everyType.splitlines()[:-1])))
    expect("results as a recording", run("run", "-q", diagram, input=output), (0, output, ""))


def summaries():
    text = "".join(line(second, "v", value) for second, value in [
        (0, '"floatValue":1'), (1, '"floatValue":-2.5'), (1, '"floatValue":null'), (2, '"floatValue":7'), (3, '"floatValue":7'), (9, '"floatValue":7'),
        (8.5, '"integerValue":3')]) + line(8.5, "p", '"vectorValue":{"x":1,"y":2,"z":3}') + line(8.5, "s", '"stringValue":"abc"')
    expect("a summary", run("info", "-", input=text), (0, """\
standard input: 9 updates of 3 streams in 6 batches, 9 s from 0.0 to 9.0, time goes back 1 time, first in line 7
  stream  type            updates  rate  range
  v       Float, Integer        7  1 Hz  -2.5 to 7.0
    1 gap, the longest 6 s, behind 3.0
    1 repeated time, first in line 3
    1 time before the one in front of it, first in line 7
    1 update without a value, first in line 3
  p       Vector                1        (1, 2, 3) to (1, 2, 3)
  s       String                1        3 to 3 bytes
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
            ("", "t,x\n1,2\n2,y\n", x(1, 2) + 'standard input:3: column "x": "y": this is no Float, which the values before it are; --types "x=String" reads texts\n'),
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
        expect(f"convert {options} of {table[:60]!r}", (output + messages, status != 0), (expected, messages != ""))
    table = "time,v.x,v.y,v.z,x,n,s\n1,1,-0,1e-07,0.1,1,\"a, \"\"b\"\"\"\n1.5,,,,2,3,\n1.5,,,,4,,\n"
    expect("a wide table and back", run("convert", "--to", "csv", input=table), (0, table, ""))
    expect("a table with semicolons", run("convert", "--separator", ";", input=x(1, 2) + line(1, "s", '"stringValue":"a;b"'))[1], 'time;x;s\n1;2;"a;b"\n')


def edf(signals, content, **header):
    """A file of signals (label, physical and digital range, samples a record) and its records."""
    fields = {"size": 256 * (len(signals) + 1), "kind": "", "records": len(content), "duration": 1, "count": len(signals)} | header
    columns = [[(label, 16)] + [("", 80), ("", 8)] + [(number, 8) for number in numbers] + [("", 80), (samples, 8), ("", 32)] for label, numbers, samples in signals]
    texts = [("0", 8), ("", 80), ("", 80), ("", 16), *zip(fields.values(), (8, 44, 8, 8, 4)), *(field for column in zip(*columns) for field in column)]
    return b"".join(str(text).ljust(length).encode() for text, length in texts) + b"".join(content)


def samples(*numbers):
    return b"".join(number.to_bytes(2, "little", signed=True) for number in numbers)


voltage = ("ECG", (-8192, 8191.75, -32768, 32767), 4)
record = samples(0, 10000, -32768, 32767)
notes = ("EDF Annotations", (-1, 1, -32768, 32767), 16)
track = """<?xml version="1.0"?><!-- a walk --><gpx><metadata><time>2024-01-01T00:00:00Z</time></metadata><trk><name>A &amp; &#66;</name><trkseg>
<trkpt lat="45.5" lon='-14.25'><ele>753.5</ele><time>2024-05-01T12:00:00Z</time><extensions><x:hr>99</x:hr></extensions></trkpt>
<trkpt lat="45.5" lon="-14.25"/><wpt lat="1" lon="2"><time>2024-05-01T12:00:00.250Z</time></wpt></trkseg></trk></gpx>"""


def otherForms(folder):
    float_ = lambda timestamp, name, value: line(timestamp, name, f'"floatValue":{value}')
    begin = 1714564800
    walk = float_(begin, "latitude", 45.5) + float_(begin, "longitude", -14.25) + float_(begin, "elevation", 753.5) + float_(begin, "hr", 99)
    expect("GPX", run("convert", input=track), (0, walk + float_(begin + 0.25, "latitude", 1) + float_(begin + 0.25, "longitude", 2),
                                                "standard input: 1 point without a time left out\n"))
    pulse = float_(0, "ECG", 0) + float_(0.25, "ECG", 2500) + float_(0.5, "ECG", -8192) + float_(0.75, "ECG", 8191.75)
    two = samples(1, 2)
    onsets = [text.encode().ljust(32, b"\0") for text in ("+5\x14\x14\0+5.3\x15" "1\x14lights\x14out\x14\0", "+9\x14\x14")]
    annotation = line(5.3, "EDF Annotations", '"stringValue":"lights"') + line(5.3, "EDF Annotations", '"stringValue":"out"')
    late = float_(5, "T", 1) + annotation + float_(5.5, "T", 2) + float_(9, "T", 1) + float_(9.5, "T", 2)
    unit = ("T", (-32768, 32767, -32768, 32767), 2)
    for name, file, expected in [
            ("EDF", edf([voltage], [record]), pulse), ("EDF of unknown length", edf([voltage], [record], records=-1), pulse),
            ("EDF+ with gaps", edf([unit, notes], [two + onsets[0], two + onsets[1]], kind="EDF+D"), late),
            ("EDF with two rates", edf([voltage, unit], [record + two]), "".join(sorted(pulse.splitlines(True) + (float_(0, "T", 1) + float_(0.5, "T", 2)).splitlines(True)))),
            ("EDF that was cut off", edf([voltage], [record, record[:3]]), pulse + "standard input: byte 520: the file ends at byte 523 within 8 bytes that begin here\n"),
            ("EDF without a record", edf([voltage], [record], records=2), pulse + "standard input: byte 520: the file ends after 1 record of 2\n"),
            ("EDF of a wrong size", edf([voltage], [], size=256), "standard input: byte 256: the header says to have 256 bytes, and with 1 signal has 512\n"),
            ("EDF of many signals", edf([voltage], [], count=9999), "standard input: byte 256: the header says to have 9999 signals; 1 to 4096 were expected\n"),
            ("EDF of long records", edf([("A", (0, 1, 0, 1), 99999999)], []), "standard input: byte 480: a record is longer than the limit of 67108864 bytes\n"),
            ("EDF of no duration", edf([voltage], [], duration="one"), 'standard input: byte 244: "one" is no number, which the duration of a record was expected to be\n'),
            ("EDF without a range", edf([("A", (0, 1, 5, 5), 1)], []), 'standard input: byte 480: signal "A" has one number as digital minimum and maximum\n'),
            ("GPX with a DTD", '<?xml version="1.0"?>\n<!DOCTYPE gpx>', "standard input:2: a document type is not read\n"),
            ("GPX that is deep", "<gpx>" + "<a>" * 99, "standard input:1: elements are nested deeper than 64\n"),
            ("GPX that ends", "<gpx>\n<trk>", 'standard input:2: the file ends within the element "trk"\n'),
            ("GPX out of order", "<gpx><a></b>", 'standard input:1: the element "b" ends, where "a" is open\n'),
            ("GPX of another name", "<kml/>", 'standard input:1: the document is called "kml"; gpx was expected\n'),
            ("GPX beyond the pole", '<gpx><wpt lat="91" lon="1"/>', 'standard input:1: a point\'s "lat" is "91"; a number of degrees was expected\n'),
            ("GPX without a date", track.replace("2024-05-01T12:00:00Z", "noon"), 'standard input:2: the time "noon" is no date such as 2024-05-01T12:00:00Z\n'),
            ("no MCAP", "\x89MCAP1\r\n".encode("latin1"), "standard input: byte 0: this is no MCAP file of version 0\n")]:
        status, output, messages = run("convert", input=file)
        expect(name, (output + messages, status != 0), (expected, messages != ""))

    path = folder / "a.mcap"
    expect("every type to MCAP", run("convert", "-o", path, input=everyType), (0, "", ""))
    expect("every type from MCAP", run("convert", path), (0, everyType, ""))
    bytes_ = path.read_bytes()
    expect("MCAP that was cut off", run("convert", input=bytes_[:2000])[0], 1)
    expect("MCAP of others", run("convert", input=bytes_.replace(b"kelvane.", b"someone.")),
           (1, "", "standard input: none of the 29 messages is one that kelvane convert wrote; no others are read\n"))
    expect("MCAP and negative times", run("convert", "--to", "mcap", input=line(-1, "x", '"floatValue":1'))[2],
           'kelvane: MCAP has times from 0 to some 9e9 seconds; the time -1 of "x" is none: --from-zero counts times from the first one\n')
    if shutil.which("zstd"):
        # The first record behind the header is a chunk, whose content stands behind 48 bytes.
        begin = 8 + 9 + 15
        size = int.from_bytes(bytes_[begin + 49 - 8:begin + 49], "little")
        content = bytes_[begin + 49:begin + 49 + size]
        packed = subprocess.run(["zstd", "-q"], input=content, capture_output=True, check=True).stdout
        chunk = bytes_[begin + 9:begin + 37] + b"\4\0\0\0zstd" + len(packed).to_bytes(8, "little") + packed
        expect("MCAP in zstd", run("convert", input=bytes_[:begin] + b"\6" + len(chunk).to_bytes(8, "little") + chunk + bytes_[begin + 49 + size:]), (0, everyType, ""))


def damaged(folder):
    """Whatever bytes come: an end with a message of one line, or a recording."""
    seeds = {"csv": b"time,a.x,a.y,a.z,b\n1,2,3,4,\"x\"\n2,,,,\n", "gpx": track.encode(), "edf": edf([voltage, notes], [record + b"+0\x14\x14".ljust(32, b"\0")] * 3),
             "jsonl": everyType.encode(), "jsonl.gz": gzip.compress(everyType.encode() * 40)}
    path = folder / "a.mcap"
    run("convert", "-o", path, input=everyType)
    seeds["mcap"] = path.read_bytes()
    random = Random(1)
    for kind, seed in seeds.items():
        for number in range(60):
            data = bytearray(seed)
            for _ in range(random.choice((1, 1, 2, 5))):
                at = random.randrange(len(data))
                data[at:at + random.choice((0, 1, 1, 1, 8))] = random.choice((b"", b"\xff", bytes([random.randrange(256)]), b"9" * 8, b"\0" * 8, b"\xff" * 8, data[-40:]))
            path = folder / f"damaged.{kind}"
            path.write_bytes(data)
            status, output, messages = run("convert", path, "--to", "recording")
            if status not in (0, 1) or status == 1 and f"{path}:" not in messages or messages.count("\n") > 2:
                expect(f"{kind} {number}, damaged", (status, messages), "an end in order")


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
        for name, options in [("wide.csv", []), ("long.csv", ["--layout", "long"]), ("a.mcap", [])]:
            expect(f"{path.name} to {name}", run("convert", path, "-o", folder / name, *options), (0, "", ""))
            expect(f"{path.name} from {name}", run("convert", folder / name) == text, True)


def readme(folder):
    """What README shows of a phone's table."""
    steps = ROOT / "examples/steps"
    status, recording, _ = run("convert", steps / "phone.csv", "--rename", "Acceleration=accelerometer")
    expect("a phone's table", (status, recording == canonical((steps / "recording.jsonl").read_text())[1]), (0, True))
    expect("results of a phone's table", run("run", steps / "diagram.kelvane", "-", "-o", folder / "steps.jsonl", input=recording), (0, "", ""))
    expect("a spreadsheet", run("convert", folder / "steps.jsonl")[1].splitlines()[:1], ["time,steps,cadence"])
    expect("a table in the place of a recording", run("run", steps / "diagram.kelvane", steps / "phone.csv", "--quiet")[2],
           f"{steps}/phone.csv:1:11: not JSON: something follows the end of the document; `kelvane convert` makes a recording of such a file; "
           "1400 more lines were not read\n")
    expect("names that are not there", run("convert", steps / "phone.csv", "--rename", "acceleration=a", "--types", "b=Float")[0::2],
           (1, 'kelvane: --rename: no stream is called "acceleration"; did you mean "Acceleration"?\nkelvane: --types: no stream is called "b"\n'))


def merging(folder):
    for sensor, second in ("gyro", 0.5), ("acc", 0.25):
        (folder / f"{sensor}.csv").write_text(f"time,x,y,z\n{second},1,2,3\n{second + 1},4,5,6\n")
    first = [f'{second},"name":"{name}"' for second, name in ((0.25, "acc"), (0.5, "gyro"), (1.25, "acc"), (1.5, "gyro"))]
    expect("several sensors", [row[13:].split(",\"vector")[0] for row in run("convert", folder / "gyro.csv", folder / "acc.csv")[1].splitlines()], first)


def main():
    summaries()
    tables()
    for part in compressed, results, roundTrips, readme, merging, otherForms, damaged:
        with tempfile.TemporaryDirectory() as folder:
            part(Path(folder))
    print(*failures, f"{len(failures)} failures", sep="\n")
    sys.exit(bool(failures))


if __name__ == "__main__":
    main()
