"""Broken recordings of a float stream "x", each with the lines that are wrong in it and what must be left of it."""

from typing import NamedTuple


class Case(NamedTuple):
    name: str
    text: bytes
    faults: tuple  # each a line and a word of its message, or several alternatives
    before: int = 0  # results before the first fault
    all: int = 0  # results of all sound lines
    without: str = "no such words"  # what the messages must not say


cases = []


def sound(second):
    return b'{"timestamp":%d,"name":"x","floatValue":0.5}' % second


def value(key, json):
    return b'{"timestamp":4,"name":"x","%s":%s}' % (key.encode(), json)


def case(name, text, *faults, before=0, all=None, **more):
    cases.append(Case(name, text, faults, before, before if all is None else all, **more))


def line(name, broken, word):
    """One broken line between three sound ones and two."""
    case(name, b"\n".join([three, broken, sound(5), sound(6)]) + b"\n", (4, word), before=3, all=5)


three = b"\n".join(map(sound, (1, 2, 3)))
for name, text in {
        "no line break at the end": three, "CRLF": three.replace(b"\n", b"\r\n") + b"\r\n",
        "blanks": three.replace(b",", b" ,\t") + b"  \n", "unknown keys": three.replace(b"}", b',"unit":{"m":[1]},"floatvalue":"1"}'),
        "null beside the value": three.replace(b"}", b',"integerValue":null}'), "whole numbers": three.replace(b"0.5", b"-0"),
        "escapes": three.replace(b"name", b"n\\u0061me"), "depth of 512": three.replace(b"}", b',"a":' + b"[" * 511 + b"]" * 511 + b"}")}.items():
    case("sound: " + name, text, before=3)
case("sound: nothing at all", b"")
case("sound: no values", b"\n".join(value(key, json) for key, json in (
    ("floatValue", b"null"), ("sequenceValue", b'[{"t":null,"f":1}]'), ("vectorValue", b'{"x":1,"y":null,"z":"3"}'), ("stringArrayValue", b"[null]"))))
case("sound: back in time", three + b"\n" + three, before=6)

# Lines that are no JSON.
for broken, word in [
        (b"", "empty|expected"), (b" \t ", "empty|expected"), (b"\r", "empty|expected"), (b"timestamp", "not JSON"), (b"// pause", "not JSON"),
        (b"4,x,0.5", "not JSON"), (b"{timestamp:4,name:x,floatValue:1}", "not JSON"), (sound(4).replace(b'"', b"'"), "not JSON"),
        (b'{"timestamp":-1e400,"name":"x","floatValue":1}', "range"), (b'{"timestamp":4,"name":"x","floatValue":1,}', "not JSON"),
        (b'{"timestamp":4,,"name":"x","floatValue":1}', "not JSON"), (b'{"timestamp":4 "name":"x","floatValue":1}', "not JSON"),
        (b'{"timestamp" 4,"name":"x","floatValue":1}', "not JSON"), (sound(4) + b",", "not JSON"), (sound(4) + sound(5), "not JSON"),
        (sound(4) + b" " + sound(5), "not JSON"), (b"[" + sound(4), "not JSON"), (sound(4) + b"}", "not JSON"), (sound(4)[:-1] + b"]", "not JSON"),
        (sound(4)[:6], "closed"), (sound(4)[:-2], "not JSON"), (b'{"timestamp":4,"name":"\\u00', "not JSON"), (b'{"timestamp":', "not JSON"),
        (sound(4)[5:], "not JSON"), (sound(4)[:15] + b"\r\r" + sound(4)[:3], "not JSON"), (sound(4)[:20] + b"\0" + sound(4)[20:], "not JSON"),
        (sound(4) + b"\0\0\0", "not JSON"), (b"\0" * 4096, "not JSON"), (sound(4).replace(b'"x"', b'"\xe9"'), "UTF-8"),
        (b"\xff\xff", "UTF-8|not JSON"), (b"\xef\xbb\xbf\xef\xbb\xbf" + sound(4), "not JSON"), (bytes(range(14, 256)), "UTF-8|not JSON"),
        (b'{"name":"' + b"x" * 10**6, "closed"), (b'{"a":' + b"[" * 10**6 + b"]" * 10**6 + b"}", "nested"),
        (b'{"a":' * 10**6 + b"1" + b"}" * 10**6, "nested")]:
    line(f"no JSON: {broken[:50]!r}", broken, word)
for number in b"NaN", b"-Infinity", b"None", b"True", b"+1", b"007", b"0,5", b"1.", b".5", b"1e", b"0x1", b"tru", b"1 2", b"1e999", b"-" + b"9" * 400:
    line(f"no JSON: value {number[:20]!r}", value("floatValue", number), "range" if b"99" in number else "not JSON")
for octets, word in [
        (b"a\tb", "control"), (b"\0", "control"), (b"\\q", "escape"), (b"\\ud800", "escape|surrogate"), (b"\\u12", "escape"), (b"\xc0\x80", "UTF-8"),
        (b"\xed\xb0\x80", "UTF-8"), (b"\xf0\x9f\x99", "UTF-8"), (b"\xf5\x80\x80\x80", "UTF-8")]:
    line(f"no JSON: text {octets!r}", value("stringValue", b'"' + octets + b'"'), word)

# JSON that is no update.
for broken, word in [
        (b"[]", "an array"), (b'"x"', "a string"), (b"4", "a number"), (b"-0", "a number"), (b"null", "null"), (b"{}", "timestamp"),
        (b'{"name":"x","floatValue":1}', "timestamp"), (b'{"timestamp":null,"name":"x","floatValue":1}', "timestamp"),
        (b'{"timestamp":"4","name":"x","floatValue":1}', '"timestamp".*string'), (b'{"timestamp":[4],"name":"x"}', '"timestamp".*array'),
        (b'{"Timestamp":4,"name":"x","floatValue":1}', "timestamp"), (b'{"timestamp":4,"floatValue":1}', '"name"'),
        (b'{"timestamp":4,"name":null,"floatValue":1}', '"name"'), (b'{"timestamp":4,"name":1,"floatValue":1}', '"name".*number'),
        (b'{"timestamp":4,"name":"x"}', "value"), (value("floatvalue", b"1"), "value"),
        (value("sequenceArrayValue", b'[[{"t":0}]]'), "missing"), (value("integerValue", b"9223372036854775808"), "integerValue"),
        (value("integerValue", b"-9223372036854775809"), "integerValue"), (value("integerValue", b"1.5"), "integerValue"),
        (value("integerValue", b"1e300"), "integerValue"), (value("floatValue", b'1,"stringValue":2'), "stringValue"),
        (value("floatValue", b'1,"timestamp":"a"'), "timestamp")]:
    line(f"no update: {broken.decode()}", broken, word)
point = b'{"x":0,"y":0,"z":0}'
for key, wrong in [
        ("floatValue", b'"1"'), ("integerValue", b"true"), ("booleanValue", b"1"), ("stringValue", b"{}"), ("vectorValue", b"[0,0,0]"),
        ("vectorValue", point.replace(b"z", b"Z")), ("vectorValue", point.replace(b':0,"z"', b':"0","z"')), ("orientationValue", b"1"),
        ("orientationValue", point), ("orientationValue", point[:-1] + b',"w":[]}'), ("sequenceValue", b'{"t":0,"f":1}'),
        ("sequenceValue", b"[[0,1]]"), ("sequenceValue", b'[{"t":0,"f":1},{}]'), ("sequenceValue", b'[{"t":0,"f":"1"},{"t":null}]'), ("floatArrayValue", b"1"),
        ("floatArrayValue", b'[1,"2"]'), ("integerArrayValue", b"[1,2.5]"), ("integerArrayValue", b"[true,null]"), ("booleanArrayValue", b"[true,0]"),
        ("stringArrayValue", b'["a",5]'), ("vectorArrayValue", b'["1,2,3"]'), ("vectorArrayValue", b"[%s,{}]" % point),
        ("orientationArrayValue", b"[%s]" % point), ("orientationArrayValue", point), ("integerArrayValue", b'"1"'),
        ("booleanArrayValue", b"true"), ("stringArrayValue", b'"a"'), ("vectorArrayValue", point), ("sequenceValue", b"7")]:
    line(f"kind: {key} is {wrong.decode()}", value(key, wrong), key)

# Where the fault stands.
torn = b'{"timestamp":4,"name":"x","floatVal'
for name, text, faults, before, all in [
        ("the first line", b"{}\n" + three, [(1, "timestamp")], 0, 3), ("the only line", b"nothing", [(1, "not JSON")], 0, 0),
        ("BOM", b"\xef\xbb\xbf" + three, [(1, "byte order mark")], 0, 2),
        ("BOM in a later line", three + b"\n\xef\xbb\xbf" + sound(4), [(4, "not JSON")], 3, 3),
        ("a line break alone", b"\n", [(1, "empty|expected")], 0, 0), ("all lines", b"{}\n" * 50, [(i, "timestamp") for i in range(1, 51)], 0, 0),
        ("UTF-16", three.decode().encode("utf-16-le"), [(i, "not JSON|UTF-8") for i in (1, 2, 3)], 0, 0),
        ("two lines", three + b"\n1\n" + sound(5) + b"\n2\n" + sound(7), [(4, "object"), (6, "object")], 3, 5),
        ("two line breaks at the end", three + b"\n\n", [(4, "empty|expected")], 3, 3),
        ("CRLF", b"\r\n" + three.replace(b"\n", b"\r\n"), [(1, "empty|expected")], 0, 3),
        ("CR parts nothing", three.replace(b"\n", b"\r"), [(1, "not JSON")], 0, 0),
        ("within a batch", three + b"\n{}\n" + sound(3).replace(b"0.5", b"2"), [(4, "timestamp")], 3, 3),
        ("behind many", b"\n".join(map(sound, range(1, 10001))) + b"\n{]\n" + sound(10002), [(10001, "not JSON")], 10000, 10001),
        ("an unfinished last line", three + b"\n" + torn, [(4, "ends within")], 3, 3), ("an unfinished only line", torn, [(1, "ends within")], 0, 0),
        ("a last line that ends in a character", three + b'\n{"timestamp":4,"name":"\xe2\x82', [(4, "ends within")], 3, 3),
        ("an unfinished last line behind a wrong one", three + b"\n{}\n" + torn, [(4, "timestamp"), (5, "ends within")], 3, 3)]:
    case("place: " + name, text, *faults, before=before, all=all)
whole = '{"timestamp":-1.5e+3, "name":"\\u00e9\\"é€\U0001f600\u0800","x":[true,{},null,false]}'.encode()
for length in range(1, len(whole), 3):
    case(f"place: a line cut off behind {whole[:length]!r}", three + b"\n" + whole[:length], (4, "ends within"), before=3)
for last, word in [
        (torn + b"\n", "closed"), (b'{"timestamp":4,"name":"x"}', "value"), (value("floatValue", b'"1"'), '"floatValue".*string'),
        (sound(4).replace(b",", b",,"), "not JSON")]:
    case(f"place: a last line that is complete: {last.decode()}", three + b"\n" + last, (4, word), before=3, without="ends within")
