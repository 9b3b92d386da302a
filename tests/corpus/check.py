"""Runs the tool over the corpus of faulty documents and broken recordings: check.py TOOL

Every fault must be reported, with its place and culprit; nothing may crash or hang."""

import json
import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import documents
import recordings

SECONDS = 60
RECORDING_MODES = [[], ["--keep-going"]]
UNDECODABLE = "undecodable", "nested-too-deep"
UNBUILDABLE = *UNDECODABLE, "unknown-class", "unknown-type"

failures = []


def fail(case, *text):
    failures.append(f"{case.name}: " + " ".join(" ".join(map(str, text)).split())[:500])


def run(case, *arguments, input=None):
    """The status, the output and the messages, which are lines of UTF-8 without controls and of bounded length."""
    try:
        outcome = subprocess.run([sys.argv[1], *map(str, arguments)], input=input, capture_output=True, timeout=SECONDS)
    except subprocess.TimeoutExpired:
        return "no end", "", ""
    output, messages = outcome.stdout.decode(errors="replace"), outcome.stderr.decode(errors="replace")
    for line in (messages if "--json" in arguments or arguments[0] in ("run", "fmt") else output + messages).split("\n"):
        if len(line) > 2500 or re.search("[\0-\x1f\x7f-\x9f\u2028-\u202e\u2066-\u2069\ufffd]", line):
            fail(case, arguments[0], "says", ascii(line))
    return outcome.returncode, output, messages


def meets(found, expected):
    names = [found.get(key) for key in ("nodeId", "label", "subject", "typeString")]
    message = found["message"] + found.get("hint", "")

    def isNamed(word):
        if word is None:
            return "hint" not in found
        return word in names or isinstance(word, str) and any(part in names or part in message for part in word.split("|"))
    return ((found["severity"], found["code"]) == (expected.severity, expected.code) and found["pointer"] in expected.pointers
            and all(map(isNamed, expected.culprit)))


def checkPlace(case, found):
    """The line and column lead to the place that the case names, or else to the value that the finding's pointer names."""
    offset = sum(len(line) + 1 for line in case.text.split(b"\n")[:found["line"] - 1]) + found["column"] - 1
    rightPlace = offset == case.place
    if case.place < 0:
        try:
            value = json.loads(case.text.decode())
        except (ValueError, RecursionError):
            return
        for key in found["pointer"].split("/")[1:]:
            key = int(key) if isinstance(value, list) else key
            value = value[key] if key in (value if isinstance(value, dict) else range(len(value))) else value
        rightPlace = json.JSONDecoder().raw_decode(case.text[offset:].decode(errors="replace"))[0] == value
    if not rightPlace:
        fail(case, found["code"], found["pointer"], "does not stand in line", found["line"], "and column", found["column"])


def checkFindings(case, findings):
    rest = list(findings)
    for expected in case.findings:
        found = next((found for found in rest if meets(found, expected)), None)
        if found is None:
            return fail(case, *expected, "is not reported, but", [(f["severity"], f["code"], f["pointer"], f["message"][:200]) for f in rest])
        rest.remove(found)
    if case.name.startswith("many: findings"):
        rest = []
    for found in rest:
        if found["severity"] != "warning" or case.name.startswith(("sound", "alone")):
            fail(case, found["severity"], found["code"], found["pointer"], "is reported:", found["message"])
    places = [(found["line"], found["column"]) for found in findings]
    if places != sorted(places):
        fail(case, "the findings are not in the order of the text")
    if len(case.text) < 10**5:
        for found in findings:
            if found["code"] != "more-findings":
                checkPlace(case, found)


def checkRun(case, path, findings):
    status, output, messages = run(case, "run", path, "--max-elements", 100000, input=case.recording)
    errors = [found for found in findings if found["severity"] != "warning"]
    if status != (1 if errors or case.stops else 0) or case.stops not in messages:
        fail(case, "run ends with", status, messages)
    if any(found["severity"] == "fatal" or found["code"] in UNBUILDABLE for found in errors) != bool(re.search("cannot be (evaluated|built)", messages)):
        fail(case, "run takes or refuses the document:", messages)
    if case.name.startswith("property") and "ERROR: " in messages:
        fail(case, "run reports what is found twice:", messages)
    for found in errors:
        words = re.findall(r"[\w ]+", found["message"], re.ASCII)
        if len(found["message"]) < 300 and not all(word in messages for word in words):
            fail(case, "run does not report", found["code"])
    # Under coverage every process writes what it ran, which takes longer than all else.
    if "KELVANE_COVERAGE" not in os.environ and not any(found["code"] in UNDECODABLE for found in findings):
        checkTextForm(case, path, (status, output), findings)


def checkTextForm(case, path, outcome, findings):
    """Whatever can be decoded can be written as text, with the same findings, and evaluates to the same."""
    asText, asJson = path.with_suffix(".txt"), path.with_suffix(".again.json")
    asText.write_text(run(case, "fmt", "--to", "text", path)[1])
    status, document, messages = run(case, "fmt", "--to", "json", asText)
    asJson.write_text(document)
    for form in asText, asJson:
        if status != 0 or run(case, "run", form, "--max-elements", 100000, input=case.recording)[:2] != outcome:
            fail(case, "evaluates to something else behind the text form", asText.read_text()[:1000], messages)
    found = json.loads(run(case, "check", "--json", asText)[1])["findings"]
    summaries = [sorted((f["severity"], f["code"], f.get("nodeId", 0)) for f in some if f["code"] != "unknown-key") for some in (findings, found)]
    if summaries[0] != summaries[1]:
        fail(case, "has other findings as text", [f for f in summaries[0] if f not in summaries[1]], [f for f in summaries[1] if f not in summaries[0]])
    lines = asText.read_text().split("\n")
    for item in found:
        line, rest = lines[item["line"] - 1], lines[item["line"] - 1].encode()[item["column"] - 1:].decode()
        isNode = item["pointer"].startswith("/nodes") and not item.get("subject", "").startswith("input")
        if isNode and not re.match(r'raw|[-_\d`#(\["]', rest) and not rest.startswith((item["label"], item["typeString"], "true", "false")):
            fail(case, item["code"], item["message"], "is placed at", rest, "in", line)
    if run(case, "fmt", "--to", "text", asJson)[1] != asText.read_text():
        fail(case, "is another text the second time")


def checkDocuments(folder, pool):
    paths = {case: folder / f"{number}.json" for number, case in enumerate(documents.cases)}
    found = {str(path): [] for path in paths.values()}
    for case, path in paths.items():
        path.write_bytes(case.text)

    def check(part):
        status, output, _ = run(part[0], "check", "--json", *(paths[case] for case in part))
        textStatus, text, _ = run(part[0], "check", *(paths[case] for case in part))
        if status not in (0, 1) or textStatus != status:
            return fail(part[0], "check ends with", status, textStatus) if len(part) == 1 else [check([case]) for case in part]
        report = json.loads(output)
        for item in report["findings"]:
            found[item["file"]].append(item)
        if not text.count("\n") - 1 == report["errors"] + report["warnings"] == len(report["findings"]):
            fail(part[0], "or another in the same process: the findings are not as many as counted")

    list(pool.map(check, (documents.cases[i::4] for i in range(4))))
    for case, path in paths.items():
        checkFindings(case, found[str(path)])
    list(pool.map(lambda case: checkRun(case, paths[case], found[str(paths[case])]), documents.cases))


def checkRecording(case, diagram, path, options):
    path.write_bytes(case.text)
    status, output, messages = run(case, "run", *options, diagram, path)
    faults, results = (case.faults, case.all) if options else (case.faults[:1], case.before)
    lines = re.findall(f"^{re.escape(str(path))}:((\\d+).*)", messages, re.MULTILINE)
    if [int(line) for _, line in lines] != [line for line, _ in faults] or status != (1 if faults else 0) or output.count("\n") != results:
        fail(case, *options, "status", status, "with", output.count("\n"), "results:", messages)
    for (message, _), (_, words) in zip(lines, faults):
        if not re.search(words, message) or case.without in message:
            fail(case, *options, words, "was expected in:", message)


def checkCodes():
    """The documentation lists every code, and the corpus gives each an occasion, but for those that take an application's classes."""
    case = documents.cases[0]
    _, text, _ = run(case, "check", "--codes")
    if text not in (Path(__file__).parents[2] / "docs" / "findings.md").read_text():
        fail(case, "docs/findings.md does not hold what check --codes prints")
    codes = {row["code"] for row in json.loads(run(case, "check", "--codes", "--json")[1])}
    expected = {finding.code for case in documents.cases for finding in case.findings}
    elsewhere = {"out-of-memory", "output-missing", "building-stops", "property-refused", "stream-not-recorded", "stream-unknown", "stream-type"}
    if codes - elsewhere != expected:
        fail(case, "codes without a case, or the reverse:", codes - elsewhere ^ expected)


def main():
    with tempfile.TemporaryDirectory() as name, ThreadPoolExecutor(4) as pool:
        folder = Path(name)
        checkDocuments(folder, pool)
        checkCodes()
        diagram = folder / "x.json"
        diagram.write_bytes(documents.diagram("<Float|x").text())
        for options in RECORDING_MODES:
            list(pool.map(lambda row: checkRecording(row[1], diagram, folder / f"{row[0]}.jsonl", options), enumerate(recordings.cases)))
    counts = [sum(not case.name.startswith(("sound", "alone")) for case in kind) for kind in (documents.cases, recordings.cases)]
    print(*sorted(failures), "{} documents, {} recordings, {} failures".format(*counts, len(failures)), sep="\n")
    sys.exit(bool(failures) or counts[0] < 300 or counts[1] < 100)


if __name__ == "__main__":
    main()
