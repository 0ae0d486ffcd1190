#!/usr/bin/env python3
"""Validates the JSON reports of the sample runs against docs/report.schema.json.

Usage: check_json_reports.py SAMPLES_PROGRAM SCHEMA WORKDIR

Runs the samples program (which writes <name>.json and <name>.html for each
sample run into WORKDIR), then checks every JSON document: it parses as
strict JSON (UTF-8, no NaN), it is valid against the schema, it holds no raw
"<", ">" or "&", and its parts agree with each other (groups against the flat
list, counts against the lists, the verdict against the outcome).

Exits 77 (a skipped test for CTest) when the jsonschema module is missing on a
machine that is not Debian; on Debian, where scripts/deps.sh installs
python3-jsonschema, a missing module is a failure.
"""
import json
import os
import subprocess
import sys


def load_validator(schema_path):
    try:
        import jsonschema
    except ImportError:
        if os.path.exists("/etc/debian_version"):
            print("FAIL: the jsonschema module is missing: apt-get install python3-jsonschema "
                  "(scripts/deps.sh lists it)")
            sys.exit(1)
        print("SKIP: the jsonschema module is missing (pip install jsonschema); "
              "the JSON reports were not checked against their schema")
        sys.exit(77)
    with open(schema_path, encoding="utf-8") as f:
        schema = json.load(f)
    cls = jsonschema.validators.validator_for(schema)
    cls.check_schema(schema)
    return cls(schema)


def reject_constant(name):
    raise ValueError("not JSON: " + name)


def consistency(doc):
    """Returns what does not agree inside one document."""
    problems = []
    groups = doc["groups"]
    counts = doc["counts"]
    if counts["groups"] != len(groups):
        problems.append("counts.groups %d, %d groups" % (counts["groups"], len(groups)))
    if sum(g["count"] for g in groups) != counts["findings_listed"]:
        problems.append("group counts do not add up to findings_listed")
    lines = [g["first_line"] for g in groups]
    if lines != sorted(lines):
        problems.append("groups are not ordered by their first line")
    for g in groups:
        if len(g["examples"]) > g["count"] or g["follows_stop"] > g["count"]:
            problems.append("group %s: more examples or stop findings than its count" % g["code"])
        if g["examples"] and g["examples"][0]["line"] != g["first_line"]:
            problems.append("group %s: first example is not on its first line" % g["code"])
    if "findings" in doc:
        findings = doc["findings"]
        if len(findings) != counts["findings_listed"]:
            problems.append("findings: %d listed, counts say %d"
                            % (len(findings), counts["findings_listed"]))
        per_group = [0] * len(groups)
        for f in findings:
            g = groups[f["group"]]
            per_group[f["group"]] += 1
            if (f["code"], f["record_type"], f["field_number"], f["severity"]) != (
                    g["code"], g["record_type"], g["field_number"], g["severity"]):
                problems.append("finding on line %d is not of its group" % f["line"])
                break
        if per_group != [g["count"] for g in groups]:
            problems.append("the flat list does not give the groups' counts")
        if [f["line"] for f in findings] != sorted(f["line"] for f in findings):
            problems.append("findings are not ordered by line")
    verdict = doc["verdict"]
    if verdict["valid"] != (verdict["outcome"] == "valid"):
        problems.append("valid disagrees with outcome")
    if verdict["outcome"] == "valid" and counts["errors"] != 0:
        problems.append("valid with errors")
    if doc["completeness"]["complete"] and verdict["outcome"] == "incomplete":
        problems.append("complete run with outcome incomplete")
    return problems


def main():
    program, schema_path, workdir = sys.argv[1:4]
    validator = load_validator(schema_path)
    os.makedirs(workdir, exist_ok=True)
    for name in os.listdir(workdir):
        os.remove(os.path.join(workdir, name))
    subprocess.run([program, workdir], check=True, stdout=subprocess.DEVNULL)

    names = sorted(n for n in os.listdir(workdir) if n.endswith(".json"))
    if len(names) < 8:
        print("FAIL: only %d JSON reports were written" % len(names))
        return 1
    failed = 0
    for name in names:
        with open(os.path.join(workdir, name), "rb") as f:
            raw = f.read()
        problems = []
        try:
            text = raw.decode("utf-8")
            doc = json.loads(text, parse_constant=reject_constant)
        except ValueError as e:
            print("FAIL %s: %s" % (name, e))
            failed += 1
            continue
        for c in "<>&":
            if c in text:
                problems.append("a raw %r in the document" % c)
        for error in validator.iter_errors(doc):
            path = "/".join(str(p) for p in error.absolute_path)
            problems.append("schema: %s: %s" % (path or "(document)", error.message))
        if not problems:
            problems = consistency(doc)
        if problems:
            failed += 1
            print("FAIL %s:\n  %s" % (name, "\n  ".join(problems[:10])))
        else:
            print("ok   %s (%s, %d groups)" % (name, doc["verdict"]["outcome"], len(doc["groups"])))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
