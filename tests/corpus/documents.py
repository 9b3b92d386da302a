"""Faulty diagram documents, each with what the checker must find in it: severity, code, place and culprit."""

import itertools
import json
import re
from typing import NamedTuple


class Finding(NamedTuple):
    severity: str
    code: str
    pointers: tuple  # one of them
    culprit: tuple  # a node's id, words (a label, type or subject as a whole, or a part of the message), None: without a hint


class Case(NamedTuple):
    name: str
    text: bytes
    recording: bytes  # of the document's streams
    findings: tuple
    place: int = -1  # of the only finding, as an offset; -1: where its pointer leads
    stops: str = ""  # a word of the message that ends the run, where only the run shows the fault


SCALARS = {"Float": "1.5", "Integer": "3", "Boolean": "true", "Vector": '{"x":1,"y":2,"z":3}', "Orientation": '{"x":0,"y":0,"z":0,"w":1}',
           "String": '"a"', "Sequence": '[{"t":0,"f":1},{"t":1,"f":2},{"t":3,"f":0}]'}
VALUES = {kind: (f"{kind.lower()}Value", value) for kind, value in SCALARS.items()}
VALUES.update({f"{kind} array": (f"{kind.lower()}ArrayValue", f"[{value}]") for kind, value in SCALARS.items() if kind != "Sequence"})


def finding(severity):
    def expect(code, places, *culprit):
        names = {"n": "nodes", "p": "properties", "c": "connections", "x": "positions", "b": "containers", "s": "subdiagrams"}
        pointers = [re.sub(r"^([a-z])(?=\d)", lambda at: f"/{names[at[1]]}/", place) for place in places.split(" or ")]
        return Finding(severity, code, tuple(pointers), culprit)
    return expect


fatal, error, warning = finding("fatal"), finding("error"), finding("warning")
cases = []


def case(name, document, *findings, **more):
    isText = isinstance(document, bytes)
    cases.append(Case(name, document if isText else document.text(), b"" if isText else document.recording(), findings, **more))


def group(name, *rows):
    for row in rows:
        case(f"{name}: {row[0]}", *row[1:])


class Document:
    def __init__(self):
        self.info = {"nodes": [], "properties": [], "connections": [], "positions": []}
        self.streams = []

    def add(self, key, **record):
        self.info.setdefault(key, []).append(record)
        return self

    def put(self, pointer, value):
        """Sets what a pointer names, also behind the end of a list; `...` leaves it out."""
        *path, last = [int(key) if key.isdigit() else key for key in pointer.split("/")[1:]]
        target = self.info
        for key in path:
            target = target[key]
        if value is ...:
            del target[last]
        elif last == len(target) and isinstance(target, list):
            target.append(value)
        else:
            target[last] = value
        return self

    def set(self, node, name, value):
        return self.add("properties", id=node, propertyString=name, valueString=value)

    def connect(self, source, target, index=0):
        return self.add("connections", outputNodeId=source, inputNodeId=target, inputIndex=index)

    def wire(self, wires):
        for source, target, index in re.findall(r"(\d+)-(\d+)(?:\.(\d+))?", wires):
            self.connect(int(source), int(target), int(index or 0))
        return self

    def box(self, *ids, **more):
        return self.add("containers", x=0, y=0, description="box", nodeIds=ids, **more)

    def part(self, *ids):
        return self.add("subdiagrams", description="part", nodeIds=ids)

    def recording(self):
        rows = itertools.product((1, 2), self.streams)
        return "".join('{"timestamp":%d,"name":"%s","%s":%s}\n' % (second, *stream) for second, stream in rows).encode()

    def text(self):
        """As JSON; the string "=3e0" stands for the number written so."""
        return re.sub(r'"=(-?\d[\d.e+-]*)"', r"\1", json.dumps(self.info, indent=1)).encode()


def diagram(nodes, wires=""):
    """Nodes with ids from 1: <Type|label a stream, >Type|label an output, =Type|value a constant, else a function; behind
    @ its outputType. Wires are from-to or from-to.input."""
    document = Document()
    for number, node in enumerate(nodes.split("; "), 1):
        head, _, text = node.partition("|")
        category = {"<": "Input stream", ">": "Variable output", "=": "Constant"}.get(head[:1], "Function")
        name, _, outputType = head.lstrip("<>=").partition("@")
        document.add("nodes", id=number, classString=category, typeString=name, outputType=outputType or None)
        text = text or {"<": f"in{number}", ">": f"out{number}"}.get(head[:1], "")
        if text:
            document.set(number, "OutputValue" if category == "Constant" else "Description", text)
        if head[0] == "<" and name in VALUES:
            document.streams.append((text, *VALUES[name]))
    return document.wire(wires)


def chain(stream="Float", function="Absolute", output="Float"):
    return diagram(f"<{stream}; {function}; >{output}", "1-2 2-3")


def full():
    """A sound document with every key."""
    inner = {"x": 0, "y": 0, "description": "inner", "nodeIds": [2], "color": None, "containers": None}
    return (chain().put("/nodes/1/outputType", "Float").add("positions", id=1, x=1, y=2.5).box(1, 2, color="red", containers=[inner])
            .put("/manualLines", ["read me"]).part(1, 2, 3))


def before(bracket, text, document=chain()):
    """A document with more in front of its last bracket."""
    return document.text().rstrip()[:-1] + text + bracket


boxes = b'{"x":0,"y":0,"description":"","nodeIds":[1],"containers":['
group("sound",
      ("chain", chain()), ("every key", full()), ("no nodes", Document()),
      ("null for optional keys", full().put("/containers/0/color", None).put("/containers/0/containers", None).put("/subdiagrams", None)),
      ("unknown keys", full().put("/version", 3).put("/nodes/0/x", {"y": []}).put("/positions/0/z", None)),
      ("whole numbers in other words", chain().put("/connections/0/inputIndex", "=0e5").put("/nodes/0/id", "=1.0").put("/nodes/1/id", "=20e-1")),
      ("ids of any sign", diagram("<Float; Sine").put("/nodes/0/id", -2**63).put("/nodes/1/id", "=-0").connect(-2**63, 0)
       .put("/properties/0/id", -2**63).add("nodes", id=2**62, classString="Variable output", typeString="Float").connect(0, 2**62)),
      ("diamond", diagram("<Float; Absolute; Sine; Power; >Float", "1-2 2-3 2-4 3-4.1 4-5")),
      ("feedback by label", diagram("<Float|in; Absolute; >Float|out; <Float|out; >Float|next", "1-2 2-3 4-5")),
      ("no subdiagrams in the list", chain().put("/subdiagrams", [])), ("a node twice in a group", chain().part(1, 1, 2, 3).box(2, 2)),
      ("a float divided by zero", diagram("<Float; =Float|0; Divide; >Float", "1-3 2-3.1 3-4")),
      ("a buffer that only empties", diagram("=Integer|-1; <Float; Buffer; >Float", "1-3 2-3.1 3-4")),
      ("open types behind a stream", diagram("<Float; Pass-through; Negate; >Float", "1-2 2-3 3-4")),
      ("an open type by outputType", diagram("Pass-through@Float; Negate; <Float; >Float", "1-2 3-1 2-4")),
      ("1023 containers deep", before(b"]}", b',"containers":[' + boxes * 1023 + b"]}" * 1023)),
      ("2048 levels", before(b"}", b',"x":' + b"[" * 2047 + b"1" + b"]" * 2047)))


def text(name, marked, *words, code="undecodable"):
    """What no reader takes; @ marks the place where it goes wrong."""
    case("text: " + name, marked.replace(b"@", b""), error(code, "", *words), place=marked.find(b"@"))


for name, marked, *words in [
        ("empty", b"@", "empty|ends"), ("blanks only", b" \r\n\t ", "empty|ends"), ("BOM only", b"\xef\xbb\xbf", "empty|ends|byte order"),
        ("BOM", b"@\xef\xbb\xbf" + chain().text(), "byte order mark"), ("UTF-16", "{}".encode("utf-16"), "UTF-8|JSON"), ("NUL", b"@\0", "not JSON"),
        ("NUL behind all", Document().text() + b"@\0", "not JSON"), ("binary", b"@\x89PNG\r\n\x1a\n" + bytes(range(256)), "not JSON|UTF-8"),
        ("an array at the top", b"@[{}]", "object", "an array"), ("a string at the top", b'@"{}"', "object", "a string"),
        ("a number at the top", b"\n @-1", "object", "a number"), ("null at the top", b"null@", "= or :")]:
    text(name, marked, *words)
for marked, word in [
        (b'{"nodes": [1@,\n ]}', 'comma stands before "]"; remove'), (b'{"nodes": []@,\n}', 'comma stands before "}"; remove'), (b'{"nodes": []\n @"properties": []}', ","),
        (b'{"nodes": [{} @{}]}', ","), (b'{"nodes": [1,@,2]}', "value"), (b'{@,"nodes": []}', "name"), (b'{"nodes" @[]}', ":"),
        (b'{"nodes":@: []}', "value"), (b"{@: []}", "name"), (b'{"nodes": @}', "value"), (b"{@'nodes': []}", "name"), (b"{@nodes: []}", "name"),
        (b"{@1: []}", "name"), (b"{@// nodes\n}", "name"), (b"{} @/* end */", "follows"), (b"{}\n@{}", "follows"), (b"{}@}", "follows"),
        (b'{"nodes": [@}]', "value"), (b'{"a": [1@}]', ","), (b'{"a": @nil}', "value"), (b'{"a": @True}', "value"), (b'{"a": true@r}', ","),
        (b'{"a": @NaN}', "value"), (b'{"a": -@Infinity}', "digit"), (b'{"a": @+1}', "value"), (b'{"a": 0@1}', ","), (b'{"a": 0@x1}', ","),
        (b'{"a": @.5}', "value"), (b'{"a": 5.@}', "digit"), (b'{"a": 5e+@}', "digit"), (b'{"a": -@-5}', "digit"), (b'{"a": @1e400}', "range"),
        (b'{"a": @-' + b"9" * 400 + b"}", "range"), (b'{"a": "b@\n"}', "control"), (b'{"a@\t": 1}', "control"), (b'{"a": "@\0"}', "control"),
        (b'{"a": "b@\\x41"}', "escape"), (b'{"a": "@\\u12"}', "escape"), (b'{"a": "@\\u00g0"}', "escape"),
        (b'{\n "a": "b@\\ud800"}', "escape|surrogate"), (b'{\n "a": "b@\\udc00"}', "escape|surrogate"),
        (b'{"a": "@\\ud800\\u0041"}', "escape|surrogate"),
        *((start + b"@", "ends") for start in (b"{", b'{"nodes"', b'{"nodes":', b'{"nodes":[', b'{"nodes":[{', b'{"a":-', b'{"a":1', b'{"a":1.',
                                               b'{"a":1e', b'{"nodes":[]', b'{"nodes":[],', full().text()[:-2])),
        *((start, "") for start in (b'{"nod', b'{"classString":"Inp', b'{"a":"\\', b'{"a":"\\u00', b'{"a":fal', b'{"a":"\xe2\x82'))]:
    text(repr(marked)[1:50], marked, "not JSON|UTF-8", word)
for name, octets in {"overlong slash": b"\xc0\xaf", "overlong of three": b"\xe0\x80\xaf", "overlong of four": b"\xf0\x80\x80\xaf",
                     "a surrogate": b"\xed\xa0\x80", "beyond Unicode": b"\xf4\x90\x80\x80", "five bytes": b"\xf8\x88\x80\x80\x80",
                     "lone continuation": b"\x80", "cut character": b"\xe2\x82", "no UTF-8 byte": b"\xff", "Latin-1": "é".encode("latin-1")}.items():
    text("no UTF-8, " + name, chain().text().replace(b"in1", b"in@" + octets), "UTF-8")
text("no UTF-8 in a name", b'{"n@\xe9des": []}', "UTF-8")
for name, marked in {"a million arrays": b"[" * 10**6 + b"]" * 10**6, "a million objects": b'{"a":' * 10**6 + b"1" + b"}" * 10**6,
                     "a million nodes": b'{"nodes":' + b"[" * 10**6, "2049 levels": b'{"x":' + b"[" * 2047 + b"@[1" + b"]" * 2048 + b"}",
                     "100000 containers": before(b"]}", b',"containers":[' + boxes * 10**5 + b"]}" * 10**5)}.items():
    text(name, marked, "2048", code="nested-too-deep")

# Every key left out or null, and with a value of another kind.
kinds = {"array": list, "integer": int, "string": str, "number": (int, float)}
keys = [(f"/{key}", "array", key in Document().info) for key in full().info]
for member in """nodes/1/id:integer nodes/1/classString:string nodes/1/typeString:string nodes/1/outputType:string? properties/0/id:integer
        properties/0/propertyString:string properties/0/valueString:string positions/0/id:integer positions/0/x:number positions/0/y:number
        connections/1/outputNodeId:integer connections/1/inputNodeId:integer connections/1/inputIndex:integer containers/0/x:number
        containers/0/y:number containers/0/description:string containers/0/nodeIds:array containers/0/color:string? containers/0/containers:array?
        containers/0/containers/0/nodeIds:array subdiagrams/0/description:string subdiagrams/0/nodeIds:array""".split():
    name, kind = member.rstrip("?").split(":")
    keys.append(("/" + name, kind, "?" not in member))
others = itertools.cycle([True, 7, "7", {}, [], 1.5])
for turn, (pointer, kind, isRequired) in enumerate(keys):
    if isRequired:
        case(f"shape: no {pointer}", full().put(pointer, None if turn % 3 == 0 else ...), error("undecodable", pointer, kind, "missing|null"))
        if turn % 3:
            *parent, key = pointer.split("/")
            misspelt = full().put("/".join([*parent, key + "s"]), []).put(pointer, ...)
            case(f"shape: {key}s for {pointer}", misspelt, error("undecodable", pointer, *([f'"{key}s" stands there'] if len(key) > 3 else [])))
    value = next(value for value in others if not isinstance(value, kinds[kind]) or value is True)
    case(f"shape: {json.dumps(value)} in {pointer}", full().put(pointer, value), error("undecodable", pointer, kind))
for pointer, value, word, *inner in [
        ("/nodes/0", 1, "object"), ("/nodes/2", None, "object"), ("/properties/1", [], "object"), ("/connections/2", "1-2", "object"),
        ("/positions/0", True, "object"), ("/containers/1", 3, "object"), ("/containers/0/containers/1", [], "object"),
        ("/subdiagrams/0", "all", "object"), ("/manualLines/1", 5, "string"), ("/manualLines/0", None, "string"),
        ("/containers/0/nodeIds", [1, "2"], "integer", "/1"), ("/subdiagrams/0/nodeIds", [1, 2, 2.5], "integer", "/2"), ("/nodes/0/id", 2**63, "64"),
        ("/nodes/0/id", -2**63 - 1, "64"), ("/nodes/1/id", "=1e300", "64"), ("/nodes/1/id", "=1e-1", "64"), ("/nodes/0/id", 10**30, "64"),
        ("/connections/0/inputIndex", 2**64, "64"), ("/connections/1/inputIndex", 0.5, "64"), ("/properties/0/id", "1", "64")]:
    case(f"shape: {pointer} is {json.dumps(value)}", full().put(pointer, value), error("undecodable", "".join([pointer, *inner]), word))


def meant(hint):
    return f'mean "{hint}"' if hint else None


# Classes and types.
for name, hint in [
        ("Input Stream", "Input stream"), ("Function ", "Function"), ("Constants", "Constant"), ("Varaible output", "Variable output"), ("", ""),
        ("Constant\0", "Constant"), ("Node", ""), ("Fu\u0301nction", "Function")]:
    case(f"class: {name}", chain().put("/nodes/1/classString", name), error("unknown-class", "n1", 2, "classString", meant(hint)))
for node, name, hint in [
        ("", "Moving avrager", "Moving averager"), ("", "add", "Add"), ("", "Sinus", ""), ("", "Float array", ""), ("", "", ""),
        ("", "Combin arrays", "Combine arrays"), ("", "Sine\n", "Sine"), ("", "A" * 10**5, ""), ("<", "Flaot", "Float"),
        ("<", "Float Array", "Float array"), ("<", "Generic value", ""), ("<", "Array", ""), (">", "Integers", "Integer"), (">", "Quaternion", ""),
        (">", "*", ""), ("=", "Boolen", "Boolean"), ("=", "Vectorarray", "Vector array"), ("=", "String array ", "String array"), ("=", "[f]", "")]:
    case(f"type: {node}{name[:20]}", diagram(f"<Float; {node}Absolute; >Float", "1-3").put("/nodes/1/typeString", name),
         error("unknown-type", "n1", 2, "typeString", name[:57], meant(hint)))
for function, name, hint in [
        ("Pass-through", "float", "Float"), ("Negate", "Generic value", ""), ("Get element", "Float arrays", "Float array"), ("Max", "Any", ""),
        ("Order", "[f]", ""), ("Add", "Vectors", "Vector"), ("Buffer", "\x1b[31mFloat", "")]:
    case(f"outputType: {name} of {function}", diagram(function).put("/nodes/0/outputType", name),
         error("unknown-output-type", "n0", 1, "outputType", name, meant(hint)))
for node, name, actual in [
        ("Absolute", "Integer", "Float"), ("Larger", "Float", "Boolean"), ("<Vector", "Float", "Vector"), ("=String", "Text", "String"),
        (">Boolean", "Boolean array", "Boolean"), ("Order", "Float", "Float array"), ("Max", "Integer array", "Integer")]:
    case(f"outputType: {name} of {node}", diagram(f"{node}@{name}"), warning("output-type-overridden", "n0", 1, "outputType", name, actual))
group("type",
      ("two unknown ones", diagram("<Flaot; Sinus; >Float", "1-2 2-3"), error("unknown-type", "n0", 1), error("unknown-type", "n1", 2)),
      ("nothing stops behind it", diagram("Sinus", "1-9"), error("unknown-type", "n0"), error("connection-unknown-id", "c0", "9")))

group("key",
      ("outputtype", chain().put("/nodes/1/outputType", ...).put("/nodes/1/outputtype", "Float"), warning("unknown-key", "n1", "outputtype", meant("outputType"))),
      ("subdiagramms", chain().put("/subdiagramms", []), warning("unknown-key", "", "subdiagramms", meant("subdiagrams"))),
      ("colour, deep inside", full().put("/containers/0/containers/0/colour", "red").put("/containers/0/containers/0/color", ...),
       warning("unknown-key", "b0/containers/0", "colour", meant("color"))),
      ("position", Document().put("/position", []).put("/positions", ...), error("undecodable", "/positions", "missing", '"position" stands there')),
      ("no positions", Document().put("/positions", ...), error("undecodable", "/positions", "missing", 'add "positions": []')))

# Ids and connections.
largest = 2**63 - 1
group("id",
      ("of two functions", diagram("<Float; Absolute; Sine", "1-2").put("/nodes/2/id", 2), error("duplicate-id", "n2", 2, "Sine", "Absolute")),
      ("of a stream and an output", diagram("<Float; >Float").put("/nodes/1/id", 1), error("duplicate-id", "n0 or n1", 1)),
      ("the largest twice", diagram("Sine; Sine").put("/nodes/0/id", largest).put("/nodes/1/id", largest), warning("id-leaves-no-room", "n0", largest),
       error("duplicate-id", "n1", largest), warning("id-leaves-no-room", "n1", largest)))
for source, target, ends in [
        (7, 2, "output"), (1, 7, "input"), (7, 8, "output input"), (0, 2, "output"), (-1, 2, "output"), (-2**63, 2, "output"), (1, largest, "input"),
        (2**32 + 1, 2, "output"), (3, 4, "input")]:
    case(f"connection: {source} to {target}", chain().connect(source, target), *(
        fatal("connection-unknown-id", "c2", f"{end}NodeId", f"{end}NodeId {source if end == 'output' else target}") for end in ends.split()))
for index in 1, -1, 2**31, 2**32, -2**32, largest, -2**63:
    case(f"connection: input {index} of one", chain().connect(1, 2, index), fatal("input-out-of-range", "c2", 2, "inputIndex", f"input {index}"))
for node, count in [("Add", 2), ("Switch", 3), ("Quaternion", 4), ("Quaternion spline", 5), ("JSON output", 3), ("Not", 1), (">Float", 1)]:
    case(f"connection: one input too many of {node}", diagram(f"<Float; {node}").connect(1, 2, count),
         fatal("input-out-of-range", "c0", 2, node.strip(">"), f"input {count}", f"{count - 1}"))
for node, index in [("<Float", 0), ("=Vector", 0), ("<Sequence array", 3), ("=Integer array", -1)]:
    case(f"connection: into {node}", diagram(f"<Float; {node}").connect(1, 2, index), fatal("node-without-inputs", "c0", 2, node[1:]))
for target in ">Float|sum; Absolute", ">Float|sum; >Float", ">Float|sum; Negate":
    case(f"connection: out of {target}", diagram(f"<Float; {target}", "1-2 2-3"), error("output-refused", "c1", 2, "sum"))
for function, index in [("Negate", 0), ("Add", 1), ("Pass-through", 0), ("Switch", 2), ("Order", 1)]:
    case(f"connection: open {function} into itself", diagram(function).connect(1, 1, index), fatal("self-connection-stops", "c0", 1, function))
group("connection",
      ("without nodes", Document().connect(1, 2), *[fatal("connection-unknown-id", "c0")] * 2),
      ("a slot fed twice", diagram("<Float; =Float|1; Sine; >Float", "1-3 2-3 3-4"), warning("input-connected-twice", "c1", 3, "input 0")),
      ("the same one three times", chain().wire("1-2 1-2"), *(warning("input-connected-twice", f"c{i}", 2) for i in (2, 3))),
      ("lost between open types", diagram("Pass-through; Negate; <Float; >Float", "1-2 3-1 2-4"), error("connection-lost", "c0", 2, "input 0")),
      ("open scalar from open array", diagram("Order; Max", "1-2"), fatal("type-adoption-stops", "c0", 2, "Array")),
      ("open array from open scalar", diagram("Max; Order", "1-2.1"), fatal("type-adoption-stops", "c0", 2, "input 1")))

# Cycles: one finding each, at one of its connections, with the whole path.
for name, nodes, wires, *rings in [
        ("one node", "<Float; Limiter; >Float", "1-2 2-3 2-2.1", ("c2", 2)), ("one node alone", "Absolute", "1-1", ("c0", 1)),
        ("two nodes", "<Float; Add|sum; Absolute; >Float", "1-2 2-3 3-2.1 2-4", ("c1 or c2", 2, 3)),
        ("rings that share a node", "Power; Sine; Cosine", "1-2 2-1 1-3 3-1.1", ("c0 or c1 or c2 or c3", 1)),
        ("two rings in a row", "Sine; Power; Sine", "1-1 1-2 3-2.1 3-3", ("c0", 1), ("c3", 3)),
        ("open types named by outputType", "Negate@Vector; Pass-through@Vector", "1-2 2-1", ("c0 or c1", 1, 2)),
        ("a constant opens the first pass alone", "<Float; Add; >Float; =Float|1", "1-2 2-3 4-2.1 2-2.1", ("c3", 2))]:
    case("cycle: " + name, diagram(nodes, wires), *(fatal("cycle", places, *(f"node {node} (" for node in path)) for places, *path in rings))
for function, index, kind in [
        ("Buffer", 1, "Float"), ("Delay", 1, "Float"), ("Gate", 1, "Float"), ("Switch", 2, "Vector"), ("Trigger", 1, "String"),
        ("Adder", 0, "Integer"), ("Pass updated", 1, "Float array"), ("Moving averager", 1, "Float"), ("JSON output", 0, "String")]:
    case(f"cycle: {function} remembers, and waits", diagram(f"{function}@{kind}; Pass-through@{kind}", f"1-2 2-1.{index}"),
         fatal("cycle", "c0 or c1", "node 1 (", "node 2 ("))
thousand = range(1, 1001)
group("cycle",
      ("a thousand nodes", diagram("; ".join(["Sine"] * 1000), " ".join(f"{i}-{i % 1000 + 1}" for i in thousand)),
       fatal("cycle", "c999", *(f"node {i} (" for i in range(1, 13)), "988 more nodes")),
      ("labels", diagram("Sine|up; Sine|down", "1-2 2-1"), fatal("cycle", "c0 or c1", 'node 1 ("Sine", "up")', 'node 2 ("Sine", "down")')),
      ("entered from outside", chain().wire("2-2"), fatal("endless-cycle", "c2", 2, "node 2")),
      ("comes to rest", diagram("<Float; Add; >Float; =Float|1", "1-2 2-3 4-2.1 2-2"), warning("ring", "c3", 2, "node 2")),
      ("may not come to rest", chain(function="Derivative").wire("2-2"), error("ring-may-not-end", "c2", 2, "node 2")),
      *((f"{name} once announced as at rest", diagram(f"<Float; <Sequence; {name}; Sequence values; Average", "1-3 1-3.1 2-3.2 3-3.2 3-4 4-5 5-3 5-3.1"),
         fatal("endless-cycle", "c3 or c4 or c5 or c6 or c7", "node 3")) for name in ("Cap values", "Select interval")),
      ("Intersections in a ring", diagram("<Float; <Sequence; Intersections; Average; Convert to sequence", "1-3 2-3.1 3-4 4-3 3-5 3-5.1 5-3.1"),
       error("ring-may-not-end", "c3 or c4 or c5 or c6", "node 3")))

# Each function with a value that one of its inputs does not take.
codes = {"f": "Float", "i": "Integer", "b": "Boolean", "v": "Vector", "q": "Orientation", "s": "Sequence", "$": "String", "F": "Float array",
         "I": "Integer array", "B": "Boolean array", "V": "Vector array", "Q": "Orientation array", "S": "Sequence array", "T": "String array",
         "*": "Float", "?": "Float", "A": "Float array"}
signatures = dict(re.findall(r"\s*(.+?): (\S+?)(?:,|\n|$)", """Absolute: f, Float interpolation: fff, Round: fi, Power: ff, Integer: f, Float: i
    Averager: bf, Moving averager: if, Delay: ff, Derivative: f, Integral: f, Peak detector: ff, Modulo: ff, Limiter: ff, Create sequence: bf
    Intersections: fs, Time derivative: s, Time integral: s, Select interval: ffs, Sequence rectifier: s, Sequence timestamps: s, Sequence values: s
    Centered moving average: is, Normalize: s, Start time: s, End time: s, Shift time: fs, Cap values: ffs, Scale time: ffs, Duration: s, Resample: fs
    Get interpolated values: Fs, Sequencer: ff, Convert to sequence: FF, Euler to quaternion: v, Quaternion to Euler: q, Make quaternion: fv
    Normalize quaternion: q, Quaternion interpolation: fqq, Quaternion spline: fqqqq, Quaternion axis: q, Quaternion angle: q, Quaternion: ffff
    Rotation matrix to quaternion: vvv, Vector length: v, Make vector: fff, Normalize vector: v, Vector x-coordinate: v, Vector y-coordinate: v
    Vector z-coordinate: v, Vector dot product: vv, Vector cross product: vv, Distance: vv, Vector angle: vv, Order: bA, Get element: iA, Trim: iiA
    Array absolute: F, Clip: ffF, Minimum: F, Maximum: F, Average: F, Remove from array: iA, Insert into array: i?A, Shift elements: fF
    Create array: i?, Combine arrays: iAA, Search array: fF, Index of maximum: F, Index of minimum: F, And: bb, Or: bb, Xor: bb, Not: b, Toggled: b
    Cosine: f, Sine: f, Tangent: f, Inverse cosine: f, Inverse sine: f, Inverse tangent: f, Radians to degrees: f, Degrees to radians: f, Scale: f*
    Buffer: i*, Gate: b*, Trigger: b*, Switch: b**, JSON output: $$*"""))
mistaken = {"f": "iFv$", "i": "fIb", "b": "iB$f", "v": "qVF", "q": "vQ", "s": "FSf", "F": "sIfV", "$": "Tif"}
for turn, (function, inputs) in enumerate(signatures.items()):
    index = [i for i, code in enumerate(inputs) if code in mistaken][turn % sum(code in mistaken for code in inputs)]
    found = mistaken[inputs[index]][turn % len(mistaken[inputs[index]])]
    streams = ["<" + codes[found if i == index else code] for i, code in enumerate(inputs)]
    case(f"type: {codes[found]} into {function}", diagram("; ".join([function, *streams]), " ".join(f"{i + 2}-1.{i}" for i in range(len(inputs)))),
         error("type-mismatch", f"c{index}", 1, f"input {index}", f'"{codes[inputs[index]]}"', f'"{codes[found]}"', f"node {index + 2} "))
for kind, found in zip("fivbqs$FIBVQTS", "ivbqs$FIBVQTSf"):
    case(f"type: {codes[found]} into an output of {codes[kind]}", diagram(f"<{codes[found]}; >{codes[kind]}", "1-2"),
         error("type-mismatch", "c0", 2, "input 0", f'"{codes[kind]}"', f'"{codes[found]}"'))
for name, nodes, wires, severity, place, *culprit in [
        ("sum of two types", "<Float; <Integer; Add; >Float", "1-3 2-3.1 3-4", error, "c1", 3, "input 1", '"Integer"'),
        ("equality of two types", "<Float; <Vector; Equal; >Boolean", "1-3 2-3.1 3-4", error, "c1", 3, '"Vector"'),
        ("number sorted", "=Boolean|true; <Float; Order; >Float array", "1-3 2-3.1 3-4", error, "c1", 3, '"Float"'),
        ("number inserted into texts", "=Integer|0; <Float; <String array; Insert into array", "1-4 3-4.2 2-4.1", error, "c2", 4, "input 1"),
        ("fixed by another connection", "<Integer; Negate; Absolute; >Float", "2-3 1-2 3-4", error, "c1", 2, '"Integer"', '"Float"'),
        ("forwarded to an output", "<Integer; Pass-through@Float; >Float", "1-2 2-3", error, "c1", 3, '"Integer"'),
        ("forwarded to a function", "<Integer; Pass-through@Float; Gate; =Boolean|true; Sine", "1-2 2-3.1 4-3 3-5", error, "c3", 5, '"Integer"'),
        ("one branch of a switch", "<Boolean; <Float; <Integer; Switch; >Float", "1-4 2-4.1 3-4.2 4-5", error, "c3", 5, '"Integer"'),
        ("fits in the end", "<Integer; Pass-through@Float; >Integer", "1-2 2-3", warning, "c0", 2),
        ("a selector is read before anything runs", "<Float; Switch; >Float", "1-2 1-2.1 2-3", error, "c0", 2, "input 0")]:
    case("type: " + name, diagram(nodes, wires), severity("type-mismatch", place, *culprit))
for name, nodes, wires, *expected in [
        ("behind a gate that opens below 50", "<Float; =Float|50; Smaller; <Integer; Gate; Sine; >Float", "1-3 2-3.1 3-5 4-5.1 5-6 6-7",
         error("type-mismatch", "c4", 6, '"Integer"', 'put a node "Float"')),
        ("behind a gate that opens to a text", "<String; =String|text; Equal; <Integer; Gate; Sine; >Float", "1-3 2-3.1 3-5 4-5.1 5-6 6-7",
         error("type-mismatch", "c4", 6, '"Integer"')),
        ("Float into Integer", "<Float; Float; >Float", "1-2 2-3", error("type-mismatch", "c0", 2, 'put a node "Integer"')),
        ("an Integer constant into Float", "=Integer|3; Sine; >Float", "1-2 2-3", error("type-mismatch", "c0", 2, 'give the constant the type "Float"')),
        ("Vector into Float", "<Vector; Sine; >Float", "1-2 2-3", error("type-mismatch", "c0", 2, None))]:
    case("type: " + name, diagram(nodes, wires), *expected)
for name, nodes, wires, severity, place, *culprit in [
        ("booleans added", "<Boolean; Add; >Boolean", "1-2 1-2.1 2-3", warning, "n1", 2, '"Boolean"'),
        ("vectors sorted", "<Boolean; <Vector array; Order; >Vector array", "1-3 2-3.1 3-4", error, "n2", 3, "Order", '"Vector array"'),
        ("texts as JSON", "<String; <String array; JSON output; >String", "1-3 1-3.1 2-3.2 3-4", error, "n2", 3, '"String array"')]:
    case("type: " + name, diagram(nodes, wires), severity("type-unsupported", place, *culprit))

# What never runs, or is of no use, and labels that meet.
for function in "Add", "Switch", "Trigger", "Clip", "Pass updated", "Create sequence", "Quaternion", "Combine arrays", "JSON output":
    inputs = signatures.get(function, "**")
    streams, last = "; ".join("<" + codes[code] for code in inputs), len(inputs) - 1
    wires = "1-2 2-3 " + " ".join(f"{i + 4}-1.{i}" for i in range(last))
    case(f"use: {function} without its last input", diagram(f"{function}@Float; Timestamp; >Float; {streams}", wires),
         warning("input-unconnected", "n0", 1, f"input {last}"), *[warning("never-runs", "n1", 2, "node 1")] * (function != "Pass updated"))
group("use",
      ("an output without input", diagram(">Float|sum"), warning("input-unconnected", "n0", 1, "sum", "input 0")),
      ("a length that would stop what never runs", diagram("=Integer|-2; Buffer", "1-2"), warning("input-unconnected", "n1", 2, "input 1")),
      ("a hidden stream", diagram("<Float").set(1, "Forwarding", "false"), warning("output-unused", "n0", 1, "in1")),
      ("open for ever", diagram("Negate"), warning("type-unresolved", "n0", 1), warning("input-unconnected", "n0", 1, "input 0")),
      ("two outputs of one label", diagram("<Float; >Float|y; >Float|y", "1-2 1-3"), warning("duplicate-label", "n2", 3, '"y"', "node 2")),
      ("a stream and an output of one label", diagram("<Float|a; >Integer|a"), warning("label-types-differ", "n0", 1, '"a"', "Integer")))
alone = diagram("<Float; <Float; Power; Moving avrager; Add; Negate; Sine; >Float", "1-3 2-3.1 3-4 4-5 1-5.1 5-6 6-7 7-8")
group("alone",
      ("an unknown function and what follows from it", alone, error("unknown-type", "n3", meant("Moving averager"))),
      ("an unknown class", chain().put("/nodes/0/classString", "Input Stream"), error("unknown-class", "n0", meant("Input stream"))),
      ("an unknown id", chain().put("/connections/0/outputNodeId", 7), fatal("connection-unknown-id", "c0")),
      ("a second node of an id", chain().put("/nodes/2/id", 2), error("duplicate-id", "n2"), warning("property-unknown-id", "p1"),
       fatal("connection-unknown-id", "c1", "3")),
      ("a missing input, with a thousand nodes behind it", diagram("; ".join(["Sine"] * 1000 + [">Float"]), " ".join(f"{i}-{i + 1}" for i in thousand)),
       warning("input-unconnected", "n0", 1), warning("never-runs", "n1", 2, "nor do 999 more nodes")))
case("use: two streams of one label", diagram("<Float|a; <Vector|a"), warning("label-types-differ", "n1", 2, '"Float"'), stops="wrong type")

# Properties, positions and labels.
for node, name, hint in [
        ("Sine", "Decription", "Description"), ("Sine", "Hidden", ""), ("<Float", "forwarding", "Forwarding"), (">Float", "Forwarding", ""),
        (">Float", "Hiden", "Hidden"), ("<Float", "Hidden", ""), ("=Float", "outputValue", "OutputValue"), ("=Float", "Colour", "Color"),
        ("=Float", "", ""), ("<Float", "Label\n", "")]:
    case(f"property: {name} of {node}", diagram(f"{node}|0").set(1, name, "true"), error("unknown-property", "p1", 1, name, meant(hint)))
for kind, values in {"Float": ["ten", "1.5x", "\t1", "1e"], "Integer": ["one", "9223372036854775808"], "Boolean": ["TRUE", "1", ""],
                     "Vector": ["1,2", "1,2,3,4", "1,,3"], "Orientation": ["0,0,1", "0,0,0,w"], "Float array": ["1,,2", "1;2"], "Sequence": ["0,x"],
                     "Boolean array": ["true,maybe"], "Vector array": ["1,2"], "Orientation array": ["1,0,0"], "Integer array": ["1,x"]}.items():
    for value in values:
        case(f"property: {value} as {kind}", diagram(f"={kind}; >{kind}", "1-2").set(1, "OutputValue", value),
             error("value-unparsable", "p1", 1, "OutputValue", f'"{value}"', f'"{kind}"'))
for node, name, value, hint in [("<Float", "Forwarding", "TRUE", "true"), ("<Float", "Forwarding", "1", ""), (">Float", "Hidden", "fals", "false")]:
    case(f"property: {name} {value}", diagram(node).set(1, name, value), warning("boolean-text", "p1", 1, name, f'"{value}"', meant(hint)))
for color, hint in [("Blue", "blue"), ("grey", "gray"), ("", ""), ("#ff0000", "")]:
    case(f"property: colour {color}", chain().set(2, "Color", color), warning("unknown-color", "p2", 2, f'"{color}"', meant(hint)))
for text, read, hint in [("60,5", "60.0", "60.5"), ("1,2,3", "1.0", ""), ("(7),", "7.0", "")]:
    case(f"property: {text} as Float", diagram("=Float; >Float", "1-2").set(1, "OutputValue", text), warning("value-cut", "p1", 1, f"read as {read}", meant(hint)))
group("property",
      ("none for a constant", diagram("=Float; >Float", "1-2"), warning("constant-without-value", "n0", 1, "0.0")),
      ("none for a list", diagram("=Vector array; >Vector array", "1-2"), warning("constant-without-value", "n0", 1, "[]")),
      ("value of a function's output", chain().set(2, "OutputValue", "x"), error("value-unparsable", "p2", 2, '"x"', '"Float"')),
      ("two values, the first of them wrong", diagram("=Float|x").set(1, "OutputValue", "1"), error("value-unparsable", "p0", 1, '"x"')),
      ("a very long value", diagram("=Float").set(1, "OutputValue", "9" * 10**6 + "x"), error("value-unparsable", "p0", 1)),
      ("value of a sequence array", diagram("=Sequence array|0,1"), warning("value-ignored", "p0", 1, "Sequence array")),
      ("value of an open output", diagram("Negate").set(1, "OutputValue", "1"), warning("value-ignored", "p0", 1)),
      ("filled integer array", diagram("=Integer array|1,2"), warning("integer-array-constant", "n0", 1)),
      ("of no node", chain().set(-2**63, "Color", "blue"), warning("property-unknown-id", "p2", "-9223372036854775808")),
      ("position of no node", full().add("positions", id=0, x=1e308, y=0), warning("position-unknown-id", "x1", "node 0")))
for name, label in {"escape sequence": "\x1b]0;title\a\x1b[31m", "line breaks": "a\nERR\r\n", "NUL, DEL": "a\0b\x7f", "C1 controls": "a\x85\x9bb",
                    "right to left": "\u202ecba\u2066", "line separators": "a\u2028b\u2029", "quotes": 'a"\\"b', "empty": "",
                    "unassigned": "\U0010ffff\uffff", "a megabyte": "é" * 500000, "emoji": "🙂" * 400}.items():
    case(f"label: {name}", chain("Integer").set(2, "Description", label), error("type-mismatch", "c0", 2, label if len(label) < 60 else label[:56 // len(label[0].encode())] + "...", '"Integer"', 'put a node "Float"'))

# Containers and subdiagrams.
def outer(*inner, node=1):
    return chain().box(node, containers=[box for document in inner for box in document.info["containers"]])


ring = diagram("<Float; Power; Sine", "1-2 2-3 3-2.1").box(2, 3)
group("container",
      ("empty", chain().box(), fatal("container-empty", "b0", "box")),
      ("empty inside", outer(chain().box(1).box()), fatal("container-empty", "b0/containers/1", "box")),
      ("of unknown nodes", chain().box(8, 9), fatal("container-empty", "b0"), error("container-unknown-id", "b0/nodeIds/0", "8"),
       error("container-unknown-id", "b0/nodeIds/1", "9")),
      ("an unknown node among others", chain().box(1, 0, 2), error("container-unknown-id", "b0/nodeIds/1", "node 0", "box")),
      ("unknown nodes deep inside", outer(outer(chain().box(1, 4))), error("container-unknown-id", "b0/containers/0/containers/0/nodeIds/1", "4")),
      ("feeds only itself", ring, fatal("cycle", "c1 or c2", "node 2", "node 3"), fatal("container-without-output", "b0", "box")),
      ("unknown colour", chain().box(1, color="pink"), warning("unknown-color", "b0", "color|Color", '"pink"')),
      ("unknown colour inside", outer(chain().box(2, color="Red")), warning("unknown-color", "b0/containers/0", meant("red"))))
group("subdiagram",
      ("unknown node", chain().part(1, 4, 2, 3), error("subdiagram-unknown-id", "s0/nodeIds/1", "part", "node 4")),
      ("unknown node in the second", chain().part(1, 2, 3).part(largest), error("subdiagram-unknown-id", "s1/nodeIds/0", f"node {largest}")),
      ("a node in none", chain().part(1, 3).box(2), error("node-in-no-subdiagram", "n1", 2, "Absolute")),
      ("nodes in none", chain().part(), *(error("node-in-no-subdiagram", f"n{i}", i + 1) for i in range(3))))

# Constants with which a function stops, or never ends. The nodes feed the last one in order, unless wires are given.
for name, nodes, slot, *wires in [
        ("division by zero", "<Integer; =Integer|0; Divide", 1), ("division by a zero that nobody set", "<Integer; =Integer; Divide", 1),
        ("overflow in Integer", "=Float|1e19; Integer", 0), ("overflow in Scale", "=Float|1e19; <Integer; Scale", 0),
        ("buffer length", "=Integer|-2; <Float; Buffer", 0), ("delay of nothing", "=Float|0; <Float; Delay", 0),
        ("negative delay", "=Float|-1; <Float; Delay", 0), ("sequencer of nothing", "=Float|0; <Float; Sequencer", 0),
        ("length of a list", "=Integer|-1; <Float; Create array", 0), ("width of an average", "=Integer|-1; <Sequence; Centered moving average", 0),
        ("width beyond the sequence", "=Integer|3; =Sequence|0,1,1,1; Centered moving average", ""),
        ("index below zero", "=Integer|-1; <Float; <Float array; Insert into array", 0),
        ("index beyond the list", "=Integer|3; =Float|1; =Float array|1,2; Insert into array", ""),
        ("index of what is removed", "=Integer|-1; <Float array; Remove from array", 0),
        ("index of what is combined", "=Integer|-1; <Float array; <Float array; Combine arrays", 0),
        ("index beyond what is combined", "=Integer|1; =Float array|1; =Float array; Combine arrays", ""),
        ("trimmed below 0", "=Integer|-5; =Integer|-1; <Float array; Trim", ""), ("trimmed off", "=Integer|1; =Integer|2; =Float array|1; Trim", ""),
        ("places beyond the list", "=Integer|3; =Integer|5; =Float array|1,2; Trim", ""), ("nothing to remove", "=Integer|0; =Float array; Remove from array", ""),
        ("behind a gate", "<Float; =Float|1000; Smaller; <Integer; Gate; =Integer|0; Divide", 1, "1-3 2-3.1 3-5 4-5.1 5-7 6-7.1"),
        ("nothing trimmed", "=Integer|0; =Integer|1; =Float array; Trim", ""), ("nothing searched", "=Float|1; =Float array; Search array", 1),
        *((f"{name} of nothing", f"=Sequence; {name}", 0) for name in ("Start time", "End time", "Duration", "Normalize", "Sequence rectifier")),
        ("derivative of nothing", "=Sequence; Time derivative", 0), ("integral of one sample", "=Sequence|0,1; Time integral", 0),
        ("nothing resampled", "=Float|1; =Sequence; Resample", 1), ("time scaled of nothing", "=Float|0; =Float|1; =Sequence; Scale time", 2),
        ("values of nothing", "=Float array|0; =Sequence; Get interpolated values", 1), ("a step of zero", "=Float|0; <Sequence; Resample", 0),
        ("a step below 0", "=Float|-0.1; <Sequence; Resample", 0),
        ("a step that time swallows", "=Float|1; =Sequence|1e300,0,2e300,0; Resample", "")]:
    last = nodes.count(";") + 1
    case("constant: " + name, diagram(nodes, *wires or [" ".join(f"{i}-{last}.{i - 1}" for i in range(1, last))]),
         error("constant-stops", f"n{last - 1}", last, f"input {slot}"))

# What only a run can show, which ends by itself.
for nodes, stops, *wires in [
        ("=Float|1e-9; <Sequence; Resample", "beyond the limit"), ("=Float|1e-300; <Sequence; Resample", "beyond the limit"),
        ("=Float|1e-9; =Sequence|0,0,9,9; Resample", "beyond the limit"),
        (f"=Integer|{largest}; <Integer; Add", "overflow"), ("=Integer|9; <Float; <Float array; Insert into array", "9"),
        (f"=Integer|{-2**63}; =Integer|-1; Divide", "overflow"), (f"=Integer|{-2**63}; =Integer|1; Subtract", "overflow"),
        (f"=Integer|{largest}; =Integer|2; Multiply", "overflow"), (f"=Integer|{-2**63}; Negate", "overflow"),
        (f"=Float|4; =Integer|{2**62}; Scale", "overflow"), (f"=Float|2; =Integer array|{2**62}; Scale", "overflow"),
        (f"=Integer array|{largest},1; Array sum", "overflow"), ("=Float|0.5; Integer; <Integer; Divide", "zero", "1-2 3-4 2-4.1")]:
    last = nodes.count(";") + 1
    case("run: " + nodes, diagram(nodes, *wires or [" ".join(f"{i}-{last}.{i - 1}" for i in range(1, last))]), stops=stops)

# Several at once.
mixed = diagram("<Float; Integer; =Boolean|maybe; Equal; >Float", "1-2 2-5 3-4 9-4.1 1-2.1 2-1").set(2, "Color", "blau").set(4, "Hidden", "1").box()
long = chain("Float").set(2, "Description", "é" * 10**5).wire("9-2")
for _ in range(20000):
    long.set(2, "Description" + "n" * 10, "x")
group("many",
      ("one of each", mixed, error("value-unparsable", "p1", 3), warning("unknown-color", "p3", 2, '"blau"'), error("unknown-property", "p4", 4),
       error("type-mismatch", "c1", 5, '"Integer"'), fatal("connection-unknown-id", "c3", "9"), fatal("input-out-of-range", "c4", 2),
       fatal("node-without-inputs", "c5", 1), fatal("container-empty", "b0")),
      ("findings, a thousand of which are listed", Document().wire(" ".join(f"{i}-{i + 1}" for i in thousand)), *(
          fatal("connection-unknown-id", f"c{i - 1}", f"{key}NodeId {i + (key == 'input')}") for i in thousand[:500] for key in ("output", "input")),
       fatal("more-findings", "", "1000 connection-unknown-id")),
      ("findings about a long label, and a fatal one behind them", long, fatal("connection-unknown-id", "c2", "9"),
       error("more-findings", "", "19001 more", "19001 unknown-property")),
      ("a key that comes twice, the last one counts", b'{"nodes":[7],' + chain("Integer").text()[1:], error("type-mismatch", "c0", 2)))
