"""Runs the tool and compares its status, results and messages with what they should be: tool.py TOOL"""

import contextlib
import difflib
import json
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree
from pathlib import Path

TOOL, DATA = Path(sys.argv[1]).absolute(), Path(__file__).parent / "data/tool"
failures = []


def start(*arguments, output=subprocess.PIPE, fileSize=resource.RLIM_INFINITY):
    """The tool in the directory of the test data. Its pipes do not block, and signals are left to it, whatever this
    program inherited: a shell has background jobs ignore SIGINT."""
    def prepare():
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, signal.SIG_DFL)
        for descriptor in (0, 1):
            os.set_blocking(descriptor, False)
        resource.setrlimit(resource.RLIMIT_FSIZE, (fileSize, fileSize))
    return subprocess.Popen([TOOL, *arguments], cwd=DATA, stdin=subprocess.PIPE, stdout=output, stderr=subprocess.PIPE, text=True,
                            errors="surrogateescape", preexec_fn=prepare)


def finish(tool, input=""):
    output, messages = tool.communicate(input, timeout=100)
    return tool.returncode, output or "", messages


def run(*arguments, input="", **more):
    return finish(start(*arguments, **more), input)


def expect(name, found, expected):
    if found != expected:
        failures.append(f"{name}: found\n{found}\nwhere expected was\n{expected}")


def row(command, status, output="", messages="", input=""):
    expect(command, run(*shlex.split(command), input=input), (status, output, messages))


def update(timestamp, value='"floatValue":1', name="x"):
    return f'{{"timestamp":{timestamp},"name":"{name}",{value}}}\n'


x1, x2, wrong = update(1), update(2), update(2, '"floatValue":"1"')
walkSums = update(0.5, '"floatValue":11', "sum") + update(1, '"floatValue":12.5', "sum")
walkResults = (update(0.5, '"floatValue":11', "sum") + update(0.5) + update(1, '"floatValue":12.5', "sum") + update(1, '"floatValue":2.5'))
firstResult = update(1, '"floatValue":11', "sum") + x1
unread = 'kelvane: warning: no input stream reads the recording\'s "speed"\n'
invalid = '2:40: "floatValue" is a string; a number was expected'
badConstant = 'bad-constant.json:11: properties[2]: node 1 ("Float", "offset"): "ten" is no value of type "Float"; expected a number\n'
unknownId = "unknown-id.json:12: connections[1]: no node has the outputNodeId 7; the connection would be retried without end\n"
misspelt = 'misspelt.json:4: nodes[1]: node 1 ("Moving avrager"): no function is called "Moving avrager"; did you mean "Moving averager"?\n'


def runs():
    row("run sum.json walk.jsonl", 0, walkResults, unread)
    row("run sum.json -", 0, walkResults, input=walkResults)
    row("run sum.json walk.jsonl --no-inputs -q", 0, walkSums)
    row("run sum.json walk.jsonl --hide x --hide sum --quiet", 0)
    row("run sum.json --hide x --set offset=-1e1 --set offset=10", 0, walkSums, input=walkResults)
    row("run sum.json broken.jsonl", 1, firstResult, f"broken.jsonl:{invalid}; 2 more lines were not read\n")
    row("run sum.json", 1, firstResult, f"standard input:{invalid}; the rest was not read\n", x1 + wrong + x2)
    row("run sum.json broken.jsonl --keep-going --hide sum", 1, x1 + update(3, '"floatValue":3'),
        f"broken.jsonl:{invalid}\nbroken.jsonl:4:21: the recording ends within this line\n"
        "broken.jsonl: 2 invalid lines were skipped\n")
    wrongType = "ERROR: trying to set input stream 'x' with wrong type!\n"
    row("run sum.json --no-inputs", 1, "", 2 * wrongType + 'kelvane: warning: the input stream "x" refused 2 values of another type, the first at t = 1.0\n'
        'kelvane: warning: the variable output "sum" gave no value; `kelvane why sum.json RECORDING` says why\n', update(1, '"integerValue":1') + update(2, '"booleanValue":true'))
    row("run escape.kelvane", 1, update(1, '"floatValue":0', "red\\u001b[31m"),
        "ERROR: trying to set input stream 'red\\x1b[31m' with wrong type!\n"
        'kelvane: warning: the input stream "red\\x1b[31m" refused 1 value of another type, the first at t = 1.0\n', update(1, '"integerValue":1', "red\\u001b[31m"))
    row("run bad-constant.json walk.jsonl --no-inputs --set offset=10", 1, walkSums, badConstant + unread)
    row("run unknown-id.json", 1, "", f"{unknownId}kelvane: unknown-id.json cannot be evaluated\n")
    unlabelled = "x: Float\ny: Float = Add(x, Add(5.0, 5.0))\n"
    row("run - walk.jsonl -q --no-inputs --set '#2=-5.0'", 0, update(0.5, name="y") + update(1, '"floatValue":2.5', "y"), input=unlabelled)
    row("set - '#3=4.0'", 0, unlabelled.replace("5.0))", "4.0))"), input=unlabelled)
    for command in "run - walk.jsonl --set Float=7", "set - Float=7":
        row(command, 2, "", f"kelvane: {'--set' if 'run' in command else 'standard input:'} Float=7: no constant is called \"Float\"; "
            "constants without a label go by their id, as in #2=TEXT\n", input=unlabelled)
    status, output, messages = run("run", "sum.json", "--keep-going", input="\n" * 250)
    expect("many invalid lines", (status, output, messages.count("\n"), messages.splitlines()[-1]),
           (1, "", 101, "standard input: 250 invalid lines were skipped; the first 100 are reported above"))


def checks():
    row("info misspelt.json", 1, "", f"{misspelt}kelvane: misspelt.json cannot be built\n")
    row("run walk.jsonl sum.json", 1, "", "walk.jsonl:2: the document: not JSON: something follows the end of the document\n"
        "kelvane: walk.jsonl cannot be built: it looks like a recording; the diagram comes first\n")
    row("check sum.json unknown-id.json none.json bad-constant.json", 1,
        f"{unknownId}{badConstant}3 diagrams checked: 2 errors, 0 warnings\n", "kelvane: cannot read none.json: No such file or directory\n")
    row("check misspelt.json --recording walk.jsonl", 1, misspelt + """\
misspelt.json:5: warning: nodes[2]: node 2 ("Float", "mean"): input 0 ("value") is not connected, so that the node never runs
misspelt.json:3: warning: nodes[0]: node 0 ("Float", "Speed"): the recording gives no values for this input stream; did you mean "speed"?
misspelt.json: warning: the document: no input stream takes the recorded values "speed"; did you mean "Speed"?
misspelt.json: warning: the document: no input stream takes the recorded values "x"
1 diagram checked: 1 error, 4 warnings
""")
    row("check sum.json --recording -", 1, """\
sum.json:3: nodes[0]: node 0 ("Float", "x"): the recording gives 2 values of type Integer, the first at timestamp 2.0; Float was expected
1 diagram checked: 1 error, 0 warnings
""", "", x1 + update(2, '"integerValue":1') + update(3, '"integerValue":1'))
    row("check sum.json --recording -", 1, f"standard input:{invalid}; the rest was not read\n1 diagram checked: 1 error, 0 warnings\n", "", x1 + wrong)
    row("check sum.json --recording - --strict", 1, """\
sum.json:3: warning: nodes[0]: node 0 ("Float", "x"): the recording gives no values for this input stream
1 diagram checked: 0 errors, 1 warning
""")


def lists():
    info = """\
Input streams
  x  Float
Variable outputs
  sum  Float
Constants
  offset  Float  10.0
Functions
  Add  1
Manual
  Adds the offset to x.
"""
    row("info sum.json", 0, info)
    expect("a label in JSON", '"label": "red\\u001b[31m",' in run("info", "escape.kelvane", "--json")[1], True)
    row("functions 'Vector length'", 0, """\
Vector
  Vector length(v: Vector) -> Float
      the length of v
      runs when: v has a new value
""")
    row("functions greater", 0, """\
Basic
  Max(a: Generic variable, b: Generic variable) -> Generic variable
      the larger of a and b; b when they are equal
  Larger(a: Generic variable, b: Generic variable) -> Boolean
      true when a is larger than b
  Larger or equal(a: Generic variable, b: Generic variable) -> Boolean
      true when a is larger than b or equal to it
""")
    exported = run("export", "sum.json")
    row("export -", *exported, input=exported[1])
    row("info -", 0, info, input=exported[1])
    text = run("fmt", "--to", "text", "sum.json")
    row("fmt -", *text, input=text[1].replace(", ", " ,  "))
    row("run - walk.jsonl", 0, walkResults, unread, input=run("fmt", "--to", "json", "-", input=text[1])[1])
    row("check -", 1, 'standard input:2:10: "y" (Float): input 0 ("value") is of type "Float", but Not at 2:10 brings values of type "Boolean"\n'
        "1 diagram checked: 1 error, 0 warnings\n", input="x: Boolean\ny: Float=Not(x)")
    row("run - walk.jsonl", *run("run", "sum.json", "walk.jsonl"), input=text[1])
    shown = re.search(r"((?:    .*\n)*    heart rate: Float = .*\n)", (DATA.parents[2] / "README.md").read_text())[1]
    row("check - --strict", 0, "1 diagram checked: 0 errors, 0 warnings\n", input=shown)
    row("fmt -", 1, "", 'standard input:1:4: a value type was expected, "Flaot" was found; did you mean "Float"?\nkelvane: standard input is no diagram\n',
        input="x: Flaot")


def usage():
    for command, status, message in [
            ("rnu", 2, 'no command is called "rnu"; did you mean "run"?'),
            ("check --jsn sum.json", 2, 'no option is called "--jsn"; did you mean "--json"?'),
            ("check", 2, "DIAGRAM is required; kelvane help check says more"),
            ("run sum.json --set", 2, "--set: LABEL=TEXT was expected; kelvane help run says more"),
            ("run sum.json -z", 2, 'no option is called "-z"; kelvane help run says more'),
            ("--colour", 2, 'no option is called "--colour"; did you mean "--color"?'),
            ("--color red check sum.json", 2, "--color red: auto|always|never was expected"),
            ("diff a b c", 2, 'no further argument was expected, and "c" was given; kelvane help diff says more'),
            ("fmt sum.json --to txt", 2, "--to txt: text|json was expected"),
            ("info /dev/zero", 1, "/dev/zero is longer than the limit of 512 MiB"),
            ("functions 'Vector lenght'", 2, 'no function is called or described by "Vector lenght"; did you mean "Vector length"?'),
            ("functions gait", 2, 'no function is called or described by "gait"; without a word, all are listed'),
            ("run sum.json --set ofset=1", 2, '--set ofset=1: no constant is called "ofset"; did you mean "offset"?'),
            ("help rnu", 2, 'help rnu: no command is called "rnu"; did you mean "run"?'),
            ("run sum.json --set offset", 2, "--set offset: LABEL=TEXT was expected"),
            ("run sum.json --set 'offset=a\nb\udcff'", 2, '--set offset=a\\nb\\xff: "a\\nb\\xff" does not read as Float'),
            ("run sum.json --hide Sum", 2, '--hide Sum: no variable output or input stream is called "Sum"; did you mean "sum"?'),
            ("run sum.json --max-elements 1e6", 2, "--max-elements 1e6: a whole number of 0 or more was expected"),
            ("run sum.json --max-elements -1", 2, "--max-elements -1: a whole number of 0 or more was expected"),
            ("run sum.json --max-batch-seconds nan", 2, "--max-batch-seconds nan: a number of 0 or more was expected"),
            ("run sum.json --max-memory 5x", 2, "--max-memory 5x: a number of bytes such as 500M or 4G was expected"),
            ("run -", 2, "the diagram and the recording cannot both be standard input"),
            ("run sum.json walk.jsonl -o ./walk.jsonl", 2, "./walk.jsonl is the file that is read, and would be overwritten"),
            ("run sum.json walk.jsonl ./walk.jsonl --out-dir none", 2, 'the results of walk.jsonl and ./walk.jsonl would both be called "walk.jsonl"'),
            ("run sum.json walk.jsonl --out-dir .", 2, "./walk.jsonl is a file that is read, and would be overwritten"),
            ("run sum.json walk.jsonl --out-dir sum.json", 1, "cannot make the folder sum.json: File exists"),
            ("run sum.json -j 2", 2, "standard input cannot be one of several recordings; @- reads their list from it"),
            ("run sum.json walk.jsonl -", 2, "standard input cannot be one of several recordings; @- reads their list from it"),
            ("run - @-", 2, "the diagram and the list cannot both be standard input"), ("run sum.json @-", 1, "there are no recordings in standard input"),
            ("run sum.json ..", 1, "there are no recordings in .. (*.jsonl)"), ("run sum.json @none", 1, "cannot read none: No such file or directory"),
            ("run sum.json walk.jsonl -j 0", 2, "--jobs 0: a whole number of 1 or more was expected"),
            ("run none.json", 1, "cannot read none.json: No such file or directory"),
            ("run sum.json -o ''", 1, 'cannot write "": No such file or directory'),
            ("run sum.json -o none/out.jsonl", 1, "cannot write none/out.jsonl: No such file or directory")]:
        row(command, status, "", f"kelvane: {message}\n")
    for name in re.findall(r"^  (\w+) ", run("help")[1].partition("Subcommands:\n")[2], re.M):
        status, output, messages = run(name, "--help")
        expect(f"{name} --help", (status, messages, f"Usage: kelvane {name} " in output, f"Examples:\n  kelvane {name}" in output), (0, "", True, True))
        expect(f"help {name}", run("help", name), (0, output, ""))
    for command, message in ("", "a command was expected: run, why, "), ("go", 'no command is called "go"; there are run, why, '):
        status, output, messages = run(*command.split())
        expect(command, (status, output, messages[:len("kelvane: " + message)]), (2, "", "kelvane: " + message))
    if not os.environ.get("KELVANE_SANITIZE"):
        row("run sum.json walk.jsonl --max-memory 1", 1, "", "kelvane: out of memory\n")
    with open("/dev/full", "w") as full:
        for command in "run sum.json walk.jsonl", "check sum.json", "info sum.json", "functions", "--help":
            expect(command, run(*command.split(), output=full), (1, "", "kelvane: cannot write standard output: No space left on device\n"))


def comparisons(folder):
    """Two results that differ are told apart by label and time, and what is wrong in one is said."""
    a, b = folder / "a", folder / "b"
    a.write_text(x1 + update(1, '"floatValue":0.5', "y") + x2)
    b.write_text(update("1e0", '"floatValue":1.25') + update(2, '"floatValue":1.0') + x2)
    row(f"diff {a} {a}", 0, "3 equal values\n")
    row(f"diff - {a} --abs 0.25", 1, f"""\
at 1.0, "y": nothing in standard input, 0.5 in {a}
at 2.0, "x": 1 in standard input, nothing in {a}
2 differences
  "y": 0 equal, 1 only in {a}; the first difference at 1.0
  "x": 2 equal, 1 only in standard input; the first difference at 2.0
""", input=b.read_text())
    row(f"diff {b} {a} --rel 0.1 --list 1", 1, f"""\
at 1.0, "x": 1.25 in {b}, 1 in {a}
3 differences
  "x": 1 equal, 1 differing by at most 0.25, 1 only in {b}; the first difference at 1.0
  "y": 0 equal, 1 only in {a}; the first difference at 1.0
""")
    row(f"diff - {a}", 1, "0 equal values\n", "standard input:1: \"name\" is missing; a string was expected\n", '{"timestamp":0}')
    row("diff - -", 2, "", "kelvane: the two results cannot both be standard input\n")


def cases(folder):
    """A case says where its first wrong value came from, and can be blessed, skipped, or refused with a reason."""
    def case(name, **files):
        (folder / name).mkdir(parents=True)
        for file, text in files.items():
            (folder / name / file.replace("_", ".")).write_text(text)
        return folder / name
    diagram = "x: Float\nrate: Float [not forwarded]\nsum: Float = Add(Subtract(x, 1), rate)\n"
    recording = x1 + update(1, '"floatValue":2', "rate") + update(2, '"floatValue":3')
    sums = update(1, '"floatValue":2', "sum")
    right = case("a/right", diagram_kelvane=diagram, recording_jsonl=recording, expected_jsonl=sums, options="# c\n\n--no-inputs\n")
    wrong = case("b", diagram_kelvane=diagram, recording_jsonl=recording, options="--hide x\n--abs 0.5\n",
                 expected_jsonl=sums + update(2, '"floatValue":5', "sum"))
    skipped = case("c", diagram_json=(DATA / "sum.json").read_text(), options="--recording none/walk.jsonl")
    broken = case("d", diagram_kelvane="x: Float\ny: Float = Absolut(x)\n", recording_jsonl=x1, expected_jsonl=x1)
    refused = case("e", diagram_kelvane=diagram, recording_jsonl=x1, expected_jsonl=x1, options="--no-inputs\n--sett a=1")
    without = case("f", diagram_kelvane=diagram, recording_jsonl=recording)
    origin = """at 2.0, "sum": 5 in expected.jsonl, nothing in the results
    "sum" comes from diagram.kelvane:3:14: (Add)
      a = 2.0, of t = 2.0, waits, from diagram.kelvane:3:18: (Subtract)
        a = 3.0, of t = 2.0, from diagram.kelvane:1:1: "x" (input stream Float)
        b = 1.0, from diagram.kelvane:3:30: (constant Float)
      b = 2.0, of t = 1.0, from diagram.kelvane:2:1: "rate" (input stream Float)
  1 difference
    "sum": 1 equal, 1 only in expected.jsonl; the first difference at 2.0
"""
    report = f"""\
{right}: as expected
{wrong}: NOT as expected
  {origin}{skipped}: skipped: the recording none/walk.jsonl is not here, nor in a folder above
{broken}: NOT as expected
  {broken}/diagram.kelvane:2:12: no function is called "Absolut"; did you mean "Absolute"?
  kelvane: {broken}/diagram.kelvane cannot be built
{refused}: NOT as expected
  {refused}/options:2: no option of a case is called "--sett"; did you mean "--set"?
{without}: NOT as expected
  expected.jsonl is missing; kelvane test --bless writes it
6 cases: 1 as expected, 4 failed, 1 skipped
"""
    for jobs in "1", "3":
        row(f"test {folder} -j {jobs}", 1, report)
    status, output, messages = run("test", "--tap", "--junit", folder / "junit.xml", right, wrong, skipped)
    lines = output.splitlines()
    expect("TAP", (status, lines[:5], lines[-1]), (1, ["TAP version 13", "1..3", f"ok 1 - {right}", f"not ok 2 - {wrong}", "# " + origin.splitlines()[0]],
                                                   f"ok 3 - {skipped} # SKIP the recording none/walk.jsonl is not here, nor in a folder above"))
    suite = xml.etree.ElementTree.parse(folder / "junit.xml").getroot()
    expect("JUnit", (suite.attrib, [[child.attrib["message"] for child in case] for case in suite]),
           ({"name": "kelvane", "tests": "3", "failures": "1", "skipped": "1"}, [[], [origin.splitlines()[0]], [lines[-1].split("SKIP ")[1]]]))
    row(f"test --bless {right} {wrong} {without} {broken}", 1, f"{right}: as expected\n{wrong}: blessed: expected.jsonl was written\n"
        f"{without}: blessed: expected.jsonl was written\n{report[report.index(str(broken)):report.index(str(refused))]}"
        "4 cases: 1 as expected, 1 failed, 2 blessed\n")
    expect("what was blessed", [(case / "expected.jsonl").read_text() for case in (right, wrong, without, broken)],
           [sums, sums, sums + x1 + update(2, '"floatValue":3'), x1])
    row(f"test {folder / 'none'}", 1, "", f"kelvane: cannot read {folder / 'none'}: No such file or directory\n")
    row("test .", 1, "", "kelvane: there are no cases in . (folders with diagram.kelvane or diagram.json, and recording.jsonl)\n")


def changes(old, new):
    """The lines that a diff shows."""
    return [line for line in difflib.unified_diff(old.splitlines(), new.splitlines(), lineterm="", n=0) if not line.startswith(("---", "+++", "@@"))]


def edits(folder):
    """Edits change the lines that they are about, in either form, or are refused with a reason."""
    texts = {name: run("fmt", "--to", "text", f"{name}.json")[1] for name in ("sum", "bad-constant")}
    documents = {name: (DATA / f"{name}.json").read_text() for name in texts}
    fed = 'note: the input "b" of node 2 ("Add") is fed by node 1 as well; the value that comes last counts'
    feeds = 'note: the variable output #3 {} the input stream #0, by the label "{}"'
    node, label = '    {{"id": {}, "classString": "{}", "typeString": "{}"}}', '    {{"id": {}, "propertyString": "{}", "valueString": "{}"}}'
    link = '    {{"outputNodeId": {}, "inputNodeId": {}, "inputIndex": {}}}'
    stream, offset, last = label.format(0, "Description", "x"), label.format(1, "OutputValue", "10"), label.format(3, "Description", "sum")
    lastNode, lastLink = node.format(3, "Variable output", "Float"), link.format(2, 3, 0)
    for command, lines, textLines, *notes in [
            ("set offset=-1.50e1", [f"-{offset},", f"+{offset},".replace("10", "-1.50e1")], ["-offset = 10", "+offset = -1.50e1"]),
            ("rename x 'two words'", [f"-{stream},", f"+{stream},".replace('"x"', '"two words"')],
             ["-x #0: Float", "-sum: Float = Add(x, offset)", "+two words #0: Float", "+sum: Float = Add(two words, offset)"]),
            ("rename sum x", [f"-{last}", f"+{last}".replace("sum", "x")], ["-sum: Float = Add(x, offset)", "+x: Float = Add(x, offset)"],
             feeds.format("now feeds", "x")),
            ("connect x Add.b", ["+" + link.format(0, 2, 1) + ","],
             ["-sum: Float = Add(x, offset)", "+sum: Float = Add(x, offset | x)"], fed),
            ("disconnect x '#2.0'", ["-" + link.format(0, 2, 0) + ","], ["-offset = 10", "-sum: Float = Add(x, offset)", "+offset = 10: Float",
                                                                       "+sum: Float = Add(_, offset)"]),
            ("add 'Moving averager' mean other", [f"-{lastNode}", f"+{lastNode},", "+" + node.format(4, "Function", "Moving averager") + ",",
                                                  "+" + node.format(5, "Function", "Moving averager"), f"-{last}", f"+{last},",
                                                  "+" + label.format(4, "Description", "mean") + ",", "+" + label.format(5, "Description", "other")],
             ["+mean = Moving averager(_, _)", "+other = Moving averager(_, _)"]),
            ("remove offset", ["-" + node.format(1, "Constant", "Float") + ",", "-" + label.format(1, "Description", "offset") + ",", f"-{offset},",
                               "-" + link.format(1, 2, 1) + ","], ["-offset = 10", "-sum: Float = Add(x, offset)", "+sum: Float = Add(x, _)"])]:
        words, said = shlex.split(command), lambda file: "".join(f"{file}: {line}\n" for line in notes)
        status, output, messages = run(words[0], "sum.json", *words[1:])
        expect(command, (status, changes(documents["sum"], output), messages), (0, lines, said("sum.json")))
        status, output, messages = run(words[0], "-", *words[1:], input=texts["sum"])
        found = [line for line in changes(texts["sum"], output) if "//" not in line]
        expect(f"{command}, in text", (status, sorted(found), len(messages.splitlines())), (0, sorted(textLines), len(notes)))

    for command, status, message in [
            ("set sum.json ofset=1", 2, 'sum.json: ofset=1: no constant is called "ofset"; did you mean "offset"?'),
            ("set sum.json offset=ten", 2, 'sum.json: offset=ten: "ten" does not read as Float'),
            ("set sum.json offset=1,5", 1, "sum.json would have these faults after the edit"),
            ("rename sum.json summ y", 2, 'sum.json: no node is called "summ"; did you mean "sum"?'),
            ("connect sum.json sum Add.a", 2, 'sum.json: node 3 ("Float", "sum") is no function, constant or input stream'),
            ("connect sum.json x Ad.a", 2, 'sum.json: no function or variable output is called "Ad"; did you mean "Add"?'),
            ("connect sum.json x Add", 2, 'sum.json: node 2 ("Add") has the inputs "a", "b"; say which, as in TO.INPUT'),
            ("connect sum.json x '#2.c'", 2, 'sum.json: node 2 ("Add") has no input "c"; did you mean "a"?'),
            ("connect sum.json x Add.0", 2, 'sum.json: node 0 ("Float", "x") feeds the input "a" of node 2 ("Add") already'),
            ("disconnect sum.json offset Add.a", 2, 'sum.json: node 1 ("Float", "offset") is no node that feeds the input "a" of node 2 ("Add")'),
            ("add sum.json 'Input stream Flaot'", 2, 'sum.json: no node class is called "Input stream Flaot"; did you mean "Input stream Float"?'),
            ("remove sum.json '#7'", 2, "sum.json: no node has the id 7"),
            ("remove --in-place - x", 2, "standard input cannot be edited in place"),
            ("run - --save x.json", 2, "--save: the diagram is standard input; `kelvane set -` writes it"),
            ("run sum.json --save -", 2, "--save -: the results are written there"),
            ("run sum.json --save ./walk.jsonl walk.jsonl", 2, "./walk.jsonl is the file that is read, and would be overwritten"),
            ("set walk.jsonl a=1", 1, "walk.jsonl is no diagram")]:
        found, output, messages = run(*shlex.split(command))
        expect(command, (found, output, messages.splitlines()[-1:]), (status, "", [f"kelvane: {message}"]))
    twice = run("add", "sum.json", "Add")[1]
    row("remove - Add", 2, "", 'kelvane: standard input: 2 nodes are called "Add"; say which: #2, #4\n', twice)

    file = folder / "sum.json"
    file.write_text(documents["sum"])
    file.chmod(0o640)
    expect("an edit in place", (run("set", "--in-place", file, "offset=1e1"), file.read_text(), file.stat().st_mode & 0o777),
           ((0, "", ""), documents["sum"].replace('"10"', '"1e1"'), 0o640))
    run("add", "--in-place", file, "Not", "no")
    before = file.read_text()
    status, output, messages = run("connect", "--in-place", file, "x", "no.0")
    expect("an edit that brings an error", (status, output, messages.splitlines()[-1], file.read_text() == before),
           (1, "", f"kelvane: {file} would have these faults after the edit", True))
    document, text = '{"nodes":[],"properties":[],"connections":[],"positions":[],"manualLines":["new"]}', "// new\n"
    for command in ("add - 'Input stream Float' x", "add - 'Constant Integer' window", "add - 'Moving averager' mean", "add - 'Variable output Float' y",
                    "connect - window mean.length", "connect - x mean.1", "connect - mean y", "set - window=5", "rename - '#2' `a`"):
        document, text = (run(*shlex.split(command), input=form)[1] for form in (document, text))
    expect("a diagram from nothing", (text, changes(run("fmt", "--to", "json", "-", input=text)[1], run("fmt", "--to", "json", "-", input=document)[1])),
           ("// new\nx: Float\n`\\`a\\`` = 5: Integer\nmean = Moving averager(`\\`a\\``, x)\ny: Float = mean\n", []))
    tuned = folder / "tuned.json"
    expect("a run that saves", (run("run", "sum.json", "walk.jsonl", "--no-inputs", "--quiet", "--set", "offset=10.0", "--save", tuned), tuned.read_text()),
           ((0, walkSums, ""), documents["sum"].replace('"10"', '"10.0"')))


def schemas():
    """The checked-in schema is the tool's, and tells documents with faults of form from sound ones."""
    schema = (DATA.parents[2] / "docs/diagram.schema.json").read_text()
    row("schema", 0, schema)
    try:
        import jsonschema
    except ImportError:
        return print("python3-jsonschema is missing: no document was validated")
    jsonschema.Draft202012Validator.check_schema(json.loads(schema))
    validator = jsonschema.Draft202012Validator(json.loads(schema))
    examples = list(DATA.parents[2].glob("examples/*/diagram.*"))
    expect("examples", [path for path in examples if not validator.is_valid(json.loads(run("fmt", "--to", "json", path)[1]))], [])
    sys.path.append(str(Path(__file__).parent / "corpus"))
    from documents import cases
    formCodes = "undecodable", "unknown-class", "unknown-type", "unknown-output-type", "boolean-text", "unknown-color"
    wrong, counts = [], {True: len(examples), False: 0}
    for case in cases:
        isFaulty = any(finding.code in formCodes for finding in case.findings)
        with contextlib.suppress(ValueError, RecursionError):
            if len(case.text) < 100000 and not case.name.startswith("text:") and (isFaulty or not case.findings):
                isValid = validator.is_valid(json.loads(case.text))
                wrong += [case.name] * (isValid == isFaulty)
                counts[isValid] += 1
    expect("documents that the schema takes for what they are not", (wrong, min(counts.values()) > 20), ([], True))


def files(folder):
    """A file of results appears when it is complete, and whatever fails leaves what was there."""
    file, link, pipe, recording = folder / "real.jsonl", folder / "link.jsonl", folder / "pipe", folder / "walk.jsonl"
    file.write_text("old")
    file.chmod(0o640)
    link.symlink_to(file.name)
    tool = start("run", "sum.json", "-o", link)
    tool.stdin.write(walkResults)
    tool.stdin.flush()
    expect("a file before its end", file.read_text(), "old")
    expect("a file", (finish(tool), file.read_text(), link.is_symlink(), file.stat().st_mode & 0o777), ((0, "", ""), walkResults, True, 0o640))
    # Counting coverage writes files, too.
    if "KELVANE_COVERAGE" not in os.environ:
        expect("a file that outgrows its limit", run("run", "sum.json", "-o", file, input="".join(map(update, range(50))), fileSize=1000),
               (1, "", f"kelvane: cannot write {file}: File too large\n"))
    os.mkfifo(pipe)
    before = len(os.listdir(folder))
    tool = start("run", "sum.json", pipe, "-o", file)
    while len(os.listdir(folder)) == before:
        time.sleep(0.001)
    tool.terminate()
    expect("a file of an interrupted run", (finish(tool), file.read_text(), len(os.listdir(folder))),
           ((143, "", f"kelvane: interrupted; {file} was not written\n"), walkResults, before))
    sums = [update(second, f'"integerValue":{value}', name) for second, value, name in ((0, -1, "n"), (0.25, 1, "n"), (0, 2**63 - 2, "sum"))]
    expect("a run that stops", (run("run", "overflow.kelvane", "--no-inputs", "-o", file, input=sums[0] + sums[1]), file.read_text()),
           ((1, "", 'kelvane: overflow.kelvane stopped in batch 2 at timestamp 0.25: overflow.kelvane:3:1: node 3 ("Add", "total"): an integer addition overflows 64 bits\n'),
            sums[2]))
    recording.write_text(x1)
    with recording.open("a") as end:
        expect("results behind the recording", (run("run", "sum.json", recording, output=end), recording.read_text()),
               ((2, "", "kelvane: standard output is the file that is read, and would be overwritten\n"), x1))


def streams():
    """Results appear while the recording goes on."""
    tool = start("run", "sum.json", "--no-inputs")
    for second in 1, 2:
        tool.stdin.write(x1 + x2 if second == 1 else update(3))
        tool.stdin.flush()
        expect("a result while the recording goes on", tool.stdout.readline(), update(second, '"floatValue":11', "sum"))
    expect("the last result", finish(tool), (0, update(3, '"floatValue":11', "sum"), ""))
    tool = start("run", "sum.json", "--no-inputs", "--live", "--live-wait", "0.01")
    for value, more in (1, ""), (2, "\n"), (3, "\r\n"):
        tool.stdin.write(update(1, f'"floatValue":{value}') + more)
        tool.stdin.flush()
        expect("a result of what has arrived", tool.stdout.readline(), update(1, f'"floatValue":{value + 10}', "sum"))
    expect("the end of a live recording", finish(tool), (0, "", ""))
    for number in signal.SIGINT, signal.SIGTERM:
        tool = start("run", "sum.json")
        tool.stdin.write(x1 + x2 + '{"timestamp":3')
        tool.stdin.flush()
        results = tool.stdout.readline() + tool.stdout.readline()
        tool.send_signal(number)
        expect(f"signal {number}", (results, finish(tool)), (firstResult, (128 + number, "", "")))
    tool = start("run", "overflow.kelvane")
    tool.stdin.write(update(0, '"integerValue":-1', "n") + update(1, '"integerValue":1', "n") + x2)
    tool.stdin.flush()
    expect("a stop while the recording goes on", tool.wait(100), 1)
    tool = start("run", "sum.json")
    tool.stdout.close()
    with contextlib.suppress(BrokenPipeError):
        tool.stdin.write(x1 + x2)
        tool.stdin.close()
    expect("a reader that leaves", (tool.wait(), tool.stderr.read()), (1, ""))


def observations(folder):
    """What a run shows besides its results."""
    profile, trace, feedback = folder / "profile.json", folder / "trace.json", folder / "sum.kelvane"
    feedback.write_text("x: Float [not forwarded]\nlast: Float\nlast: Float = Add(x, Trigger(Updated(x), last))\n")
    seen = run("run", "sum.json", "walk.jsonl", "--no-inputs", "-q", "--tap", "x", "--tap", "#2", "--profile-json", profile, "--trace", trace)
    tapped = "".join(update(at, f'"floatValue":{x + 10:g}', "#2") + update(at, f'"floatValue":{x + 10:g}', "sum") + update(at, f'"floatValue":{x:g}')
                     for at, x in ((0.5, 1), (1, 2.5)))
    expect("taps", seen, (0, tapped, ""))
    read = json.loads(profile.read_text())
    expect("a profile", [(row["name"], row["runs"], row["emissions"]) for row in read["functions"]], [("Add", 2, 2)])
    events = json.loads(trace.read_text())["traceEvents"]
    expect("a trace", ([event["cat"] for event in events].count("Add"), {event["ph"] for event in events}), (2, {"X"}))
    profiled = run("run", "sum.json", "walk.jsonl", "-q", "--profile")
    expect("a profile for people", (profiled[1], " Add " in profiled[2].replace("\n", " ")), (walkResults, True))
    row(f"run {feedback}", 0, "", 'kelvane: warning: the variable output "last" gave no value; `kelvane why '
        f"{feedback} RECORDING` says why\n", x1 + x2)
    row(f"run {feedback} --init last=5", 0, update(0, '"floatValue":5', "last") + update(1, '"floatValue":6', "last") + update(2, '"floatValue":7', "last"),
        "", x1 + x2)
    row("run sum.json --no-inputs", 0, update(1, '"floatValue":11', "sum") + update(0.5, '"floatValue":12', "sum"),
        'kelvane: warning: 1 update was replaced by a later one of the same name and time, the first of "x" at t = 1.0\n'
        "kelvane: warning: the time goes back once, first from t = 1.0 to 0.5\n", x1 + x1 + update(0.5, '"floatValue":2'))
    row("run sum.json --no-inputs", 0, "", "kelvane: warning: the recording has no updates\n")
    row("--color always run sum.json", 0, "", "kelvane: \x1b[33mwarning:\x1b[0m the recording has no updates\n")
    row("run sum.json --no-inputs", 0, "", 'kelvane: warning: no update names the input stream "x" (Float); the recording has "speed" of that type\n'
        'kelvane: warning: the variable output "sum" gave no value; `kelvane why sum.json RECORDING` says why\n' + unread, update(1, name="speed"))


def docsOfCommands(folder):
    page = run("help", "--man")[1]
    for name in re.findall(r"^  (\w+) ", run("help")[1].partition("Subcommands:\n")[2], re.M):
        expect(f"the page on {name}", f'.SS "kelvane {name}' in page, True)
    if shutil.which("man"):
        (folder / "kelvane.1").write_text(page)
        shown = subprocess.run(["man", "--warnings", "-l", folder / "kelvane.1"], capture_output=True, text=True)
        expect("the page as man shows it", (shown.stderr, "--live-wait" in shown.stdout.replace("\b", "")), ("", True))
    (folder / "kelvane.bash").write_text(run("help", "--completions", "bash")[1])
    for line, expected in ("ru", "run"), ("run --live-", "--live-wait"), ("fmt --to te", "text"), ("check ../tool/sum", "../tool/sum.json"):
        words = " ".join(map(shlex.quote, ["kelvane", *line.split(" ")]))
        script = f"source {folder}/kelvane.bash; COMP_WORDS=({words}); COMP_CWORD=$(({len(line.split())})); _kelvane; echo \"${{COMPREPLY[*]}}\""
        expect(f"completion of {line}", subprocess.run(["bash", "-c", script], capture_output=True, text=True, cwd=DATA).stdout.strip(), expected)
    for shell in "zsh", "fish":
        expect(f"completions for {shell}", "live-wait" in run("help", "--completions", shell)[1], True)


def manyRecordings(folder):
    """Whatever runs beside a recording, its results are those that it has alone, and come in their turn."""
    long, broken, integer, walk = (folder / name for name in ("a-long.jsonl", "broken.jsonl", "integer.jsonl", "walk.jsonl"))
    listed, pipe, results = folder / "list", folder / "pipe", folder / "results"
    long.write_text("".join(map(update, range(20000))))
    broken.write_text(x1 + wrong)
    integer.write_text(update(1, '"integerValue":1'))
    walk.write_text(walkResults)
    listed.write_text(f"{folder}\n\nnone.jsonl\n")
    amounts = [f"{long}: 20000 batches, 20000 updates, 40000 output values\n", f"{broken}:{invalid}\n{broken}: 2 batches, 1 update, 2 output values; failed\n",
               f"{integer}: ERROR: trying to set input stream 'x' with wrong type!\n"
               f'{integer}: warning: the input stream "x" refused 1 value of another type, the first at t = 1.0\n'
               f'{integer}: warning: the variable output "sum" gave no value; `kelvane why sum.json {integer}` says why\n'
               f"{integer}: 2 batches, 1 update, 1 output value; failed\n",
               f"{walk}: 3 batches, 4 updates, 4 output values\n"]
    failed = "kelvane: 2 of 4 recordings failed\n"
    alone = [run("run", "sum.json", path)[1] for path in (long, broken, integer, walk)]
    for jobs, waitingPlace in ("1", "/tmp"), ("3", "/none"):
        os.environ["TMPDIR"] = waitingPlace
        status, output, messages = run("run", "sum.json", long, "@" + str(listed), walk, "-j", jobs)
        expect(f"results in turn, {jobs} at a time", output == alone[0] + "".join(alone) + walkResults, True)
        expect(f"messages in turn, {jobs} at a time", (status, messages), (1, amounts[0] + "".join(amounts) + (
            "kelvane: cannot read none.jsonl: No such file or directory\nnone.jsonl: 0 batches, 0 updates, 0 output values; failed\n"
            f"{amounts[-1]}kelvane: 3 of 7 recordings failed\n")))
    os.environ["TMPDIR"] = str(folder)
    os.mkfifo(pipe)
    tool = start("run", "sum.json", pipe, long, "-j", "2")
    isWaiting = False
    while not isWaiting:
        with contextlib.suppress(FileNotFoundError):
            isWaiting = any(os.readlink(link).endswith("(deleted)") for link in Path(f"/proc/{tool.pid}/fd").iterdir())
    pipe.write_text(x1)
    expect("results that wait in a file", finish(tool)[:2] == (0, firstResult + alone[0]), True)
    smoothing = DATA.parents[2] / "examples/smoothing"
    expect("a fresh start", run("run", smoothing / "diagram.kelvane", *3 * [smoothing / "recording.jsonl"], "-j", "2")[:2],
           (0, 3 * (smoothing / "expected.jsonl").read_text()))
    stop = folder / "stop"
    stop.write_text(update(0, '"integerValue":-1', "n") + update(0.25, '"integerValue":1', "n"))
    status, output, messages = run("run", "overflow.kelvane", stop, stop, "--no-inputs")
    expect("a stop, and on", (status, output, messages.count(f"stopped in batch 2 of {stop} at timestamp 0.25: overflow.kelvane:3:1: node 3")),
           (1, 2 * update(0, f'"integerValue":{2**63 - 2}', "sum"), 2))

    for path in long, broken, integer, walk:
        os.utime(path, (1e9, 1e9))
    (arguments, newer) = ("run", "sum.json", folder, "--out-dir", results, "-j", "2"), "{}: skipped, {} is newer\n"
    for name, more, expected in [("a folder of results", [], "".join(amounts)),
                                 ("a run that resumes", ["--resume"], newer.format(long, results / long.name) + "".join(amounts[1:])),
                                 ("a newer recording", ["--resume"], "".join(amounts[:3]) + newer.format(walk, results / walk.name))]:
        expect(name, (run(*arguments, *more), [path.read_text() for path in sorted(results.iterdir())] == alone), ((1, "", expected + failed), True))
        (results / walk.name).unlink() if not more else os.utime(long, (4e9, 4e9))

    shutil.rmtree(results)
    (folder / "link").symlink_to(pipe)
    tool = start("run", "sum.json", pipe, folder / "link", "-j", "2", "--out-dir", results)
    while not results.exists() or len(os.listdir(results)) < 2:
        time.sleep(0.001)
    tool.terminate()
    expect("interrupted recordings", (finish(tool), os.listdir(results)), ((143, "", "kelvane: interrupted; 0 of 2 recordings done\n"), []))
    tool = start("run", "sum.json", long, pipe, "-j", "2")
    tool.stdout.close()
    expect("a reader that leaves several recordings", (tool.wait(100), tool.stderr.read()), (1, ""))


def main():
    for part in runs, checks, lists, usage, streams, schemas:
        part()
    for part in files, edits, comparisons, cases, observations, docsOfCommands:
        with tempfile.TemporaryDirectory() as folder:
            part(Path(folder))
    with tempfile.TemporaryDirectory() as folder:
        manyRecordings(Path(folder))
    print(*failures, f"{len(failures)} failures", sep="\n")
    sys.exit(bool(failures))


if __name__ == "__main__":
    main()
