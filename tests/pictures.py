"""Pictures as others read them, SVG as XML: pictures.py TOOL"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET
from pathlib import Path

TOOL, ROOT = Path(sys.argv[1]).absolute(), Path(__file__).absolute().parent.parent
failures = []


def tool(*arguments, input=None, status=0):
    done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True, input=input, timeout=100)
    if done.returncode != status:
        failures.append(f"{arguments}: status {done.returncode}, {done.stderr}")
    return done.stdout if status == 0 else done.stderr


def expect(name, found, expected):
    if found != expected:
        failures.append(f"{name}: found {found!r} where expected was {expected!r}")


def drawn(*arguments, input=None):
    """The elements of a class, as functions of its name."""
    root = ET.fromstring(tool("draw", *arguments, input=input))
    return lambda *classes: [each for each in root.iter() if set(classes) <= set(each.get("class", "").split())]


def text(element):
    return " ".join("".join(part.itertext()) for part in element if part.tag.endswith("text"))


def checkDrawing(diagram, *more):
    document = json.loads(tool("fmt", "--to", "json", diagram))
    find = drawn(diagram, *more)
    expect(f"nodes of {diagram}", sorted(int(each.get("data-node")) for each in find("node")), sorted(node["id"] for node in document["nodes"]))
    wires = sorted((int(each.get("data-from")), int(each.get("data-to")), int(each.get("data-input"))) for each in find("wire") if each.get("data-input"))
    expect(f"wires of {diagram}", wires, sorted((wire["outputNodeId"], wire["inputNodeId"], wire["inputIndex"]) for wire in document["connections"]))
    labels = {property["id"]: property["valueString"] for property in document["properties"] if property["propertyString"] == "Description"}
    for node in find("node"):
        label = labels.get(int(node.get("data-node")), "")
        if not any(part.endswith("…") for part in text(node).split()) and label not in text(node):
            failures.append(f"{diagram}: {label} is not written on its node: {text(node)}")
    return find


def checkExamples():
    # Under coverage every process writes what it ran, which takes longer than to draw.
    some = slice(None, None, 4 if "KELVANE_COVERAGE" in os.environ else 1)
    for diagram in sorted(ROOT.glob("examples/**/diagram.kelvane"))[some]:
        recording = diagram.parent / "recording.jsonl"
        find = checkDrawing(diagram, *(["--values", recording] if recording.exists() else []))
        if recording.exists():
            expect(f"places for values of {diagram}", len(find("value")), len(find("node")) - len(find("node", "constant")))
        dot = tool("draw", diagram, "--format", "dot")
        expect(f"nodes for Graphviz of {diagram}", dot.count(" [label=<<TABLE"), len(find("node")))
        if shutil.which("dot"):
            done = subprocess.run(["dot", "-Tplain"], input=dot, capture_output=True, text=True, timeout=100)
            expect(f"what Graphviz says of {diagram}", (done.returncode, done.stderr), (0, ""))
            expect(f"what Graphviz drew of {diagram}", sum(line.startswith("edge ") for line in done.stdout.splitlines()), len(find("wire")) - len(find("legend", "key")[0].findall(".//{*}path")))
        mermaid = tool("draw", diagram, "--format", "mermaid")
        expect(f"nodes for Mermaid of {diagram}", sum(line.startswith(("  n", "n")) and "--" not in line and "-.-" not in line for line in mermaid.splitlines()), len(find("node")))


BOXES = """// A note <that> says & "quotes".
x: Float [not forwarded]
high = Larger(x, 2.5) [green]
out: Float = Gate(high, x)
lost = Add(x, _)
box `Outer <&>` [cyan] { high, box Inner { lost } }
subdiagram All { * }
"""
RECORDING = "".join(json.dumps({"timestamp": t, "name": "x", "floatValue": x}) + "\n" for t, x in ((1, 2.0), (2, 3.123456789), (3, 1e-9)))


def checkParts(folder):
    diagram, recording = folder / "boxes.kelvane", folder / "r.jsonl"
    diagram.write_text(BOXES)
    recording.write_text(RECORDING)
    find = checkDrawing(diagram)
    expect("frames", [text(each).strip() or each.find("{*}title").text for each in find("frame")], ["Outer <&>", "Inner"])
    expect("notes", [text(each) for each in find("notes")], ['A note <that> says & "quotes".'])
    expect("finding", [each.find("{*}title").text for each in find("note", "warning")], ['the output feeds nothing\ninput 1 ("b") is not connected, so that the node never runs'])
    expect("subdiagram", [text(each) for each in find("legend")][0], "All all nodes")
    expect("types", [each.get("class") for each in find("port", "out")], [f"port out {type}" for type in ("float", "float", "boolean", "float", "float")])
    expect("a value at the end", values(diagram, recording), {"x": "1e-09", "high": "false", "Gate": "3.12346", "out": "3.12346", "lost": "–"})
    expect("a value at a time", values(diagram, recording, "--at", "1.5"), {"x": "2", "high": "false", "Gate": "–", "out": "–", "lost": "–"})
    expect("a value of other constants", values(diagram, recording, "--set", "#2=0.5", "--at", "1")["Gate"], "2")
    expect("highlighted", [text(each) for each in drawn(diagram, "--highlight", "lost", "--highlight", "#1")("highlighted")], ["x Float, not in the results", "lost Add a b"])
    expect("the theme", "prefers-color-scheme" in tool("draw", diagram, "--theme", "dark"), False)
    expect("the same again", tool("draw", diagram), tool("draw", diagram))
    for ending, begin in (("svg", "<svg "), ("dot", "digraph {"), ("mmd", "---")):
        tool("draw", diagram, "-o", folder / f"picture.{ending}")
        expect(ending, (folder / f"picture.{ending}").read_text().startswith(begin), True)
    expect("no such node", tool("draw", diagram, "--highlight", "hihg", status=2), 'kelvane: --highlight hihg: no node is called "hihg"; did you mean "high"?\n')
    expect("no recording", tool("draw", diagram, "--at", "3", status=2), "kelvane: --at is a time in the recording of --values RECORDING\n")
    expect("no such theme", tool("draw", diagram, "--theme", "red", status=2), "kelvane: --theme red: auto|light|dark was expected\n")
    expect("its own file", "boxes.kelvane" in tool("draw", diagram, "-o", diagram, status=2), True)


def values(diagram, recording, *more):
    find = drawn(diagram, "--values", recording, *more)
    names = {each.get("data-node"): each.find("{*}text").text for each in find("node")}
    return {names[each.get("data-node")]: each.text for each in find("value")}


def checkStrangeDocuments():
    """What no engine takes is drawn all the same."""
    node = lambda id, kind="Function", type="Sine": {"id": id, "classString": kind, "typeString": type}
    wire = lambda a, b, i=0: {"outputNodeId": a, "inputNodeId": b, "inputIndex": i}
    deep = {"x": 0, "y": 0, "description": "", "nodeIds": [1]}
    sys.setrecursionlimit(20000)
    for _ in range(1000):
        deep = {"x": 0, "y": 0, "description": "deep", "nodeIds": [2], "containers": [deep]}
    strange = [
        ({"nodes": [node(1), node(1), node(2, "Function", "No such"), node(3, "What", "?")], "connections": [wire(1, 1), wire(1, 2, 7), wire(2, 1), wire(1, 2, -1), wire(1, 99), wire(99, 1), wire(3, 1, 10**9)]}, 4, 3),
        ({"nodes": [node(i) for i in range(9)], "connections": [wire(i, (i + 1) % 9) for i in range(9)], "positions": [{"id": i, "x": 1e308, "y": -1e308} for i in range(9)]}, 9, 9),
        ({"nodes": [node(1), node(2)], "connections": [wire(1, 2)], "containers": [deep]}, 2, 1),
        ({"nodes": [node(1)], "connections": [], "properties": [{"id": 1, "propertyString": "Description", "valueString": "\x01\x7f<&\"'\ufffe" + "long " * 200000}]}, 1, 0),
        ({"nodes": [], "connections": []}, 0, 0),
        ({"nodes": [node(i) for i in range(20000)], "connections": [wire(i - 1, i) for i in range(1, 20000)] + [wire(i * i % 20000, i) for i in range(20000)]}, 20000, 39999),
    ]
    for document, nodes, wires in strange:
        given = json.dumps({"properties": [], "positions": [], **document}, separators=(",", ":"))
        find = drawn("-", input=given)
        expect(given[:60], (len(find("node")), len([each for each in find("wire") if each.get("data-from")])), (nodes, wires))
        for language in ("dot", "mermaid"):
            tool("draw", "-", "--format", language, input=given)


def main():
    checkExamples()
    with tempfile.TemporaryDirectory() as name:
        checkParts(Path(name))
    checkStrangeDocuments()
    print("\n".join(failures) or "all pictures are as expected")
    return 1 if failures else 0


sys.exit(main())
