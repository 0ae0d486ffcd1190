#!/usr/bin/env python3
"""Checks the HTML pages of the sample runs against the JSON of the same runs.

Usage: check_html_reports.py SAMPLES_PROGRAM WORKDIR

Runs the samples program (which writes <name>.json and <name>.html for each
sample run into WORKDIR) and reads every page with the standard library's
HTML parser: the page is self-contained (no address outside itself), Brazilian
Portuguese, made for small screens; its verdict banner, per-type table, one
collapsible section per group and full list of findings say what the JSON of
the run says; every link inside it leads somewhere.
"""
import json
import os
import subprocess
import sys
from html.parser import HTMLParser

VOID = {"meta", "br", "img", "link", "input", "hr"}


def visible(text):
    """A text of the run as the page shows it: control characters as \\x1B."""
    return "".join("\\x%02X" % ord(ch) if ord(ch) < 0x20 or 0x7F <= ord(ch) <= 0x9F else ch
                   for ch in text)


def number(text):
    """'1.234' as written on the page."""
    return int(text.replace(".", "").strip())


class Page(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.problems = []
        self.stack = []
        self.ids = []
        self.hrefs = []
        self.lang = None
        self.charset = False
        self.viewport = False
        self.scripts = 0
        self.h1 = 0
        self.outcome = None
        self.sections = []
        self.groups = []  # (data-code, data-count)
        self.tables = {}  # class -> list of rows (list of cell texts)
        self.row_attrs = {}  # class -> list of row attribute dicts
        self.completeness = ""
        self._table = None
        self._row = None
        self._cell = None
        self._in_completeness = False

    def handle_starttag(self, tag, attrs):
        a = dict(attrs)
        if tag not in VOID:
            self.stack.append(tag)
        for name, value in attrs:
            value = value or ""
            if name == "id":
                self.ids.append(value)
            if name in ("src", "srcset", "action", "formaction", "background", "poster"):
                self.problems.append("<%s %s=...>: a resource outside the page" % (tag, name))
            if name == "href":
                self.hrefs.append(value)
            if name.startswith("on"):
                self.problems.append("<%s %s>: an event handler" % (tag, name))
        if tag in ("link", "img", "iframe", "object", "embed", "base", "form"):
            self.problems.append("<%s>: not part of a self-contained page" % tag)
        if tag == "html":
            self.lang = a.get("lang")
        if tag == "meta":
            if (a.get("charset") or "").lower() == "utf-8":
                self.charset = True
            if a.get("name") == "viewport" and "width=device-width" in (a.get("content") or ""):
                self.viewport = True
        if tag == "script":
            self.scripts += 1
        if tag == "h1":
            self.h1 += 1
        if tag == "header" and a.get("id") == "verdict":
            self.outcome = a.get("data-outcome")
            if self.outcome not in (a.get("class") or "").split():
                self.problems.append("the banner's class does not name its outcome")
        if tag == "section":
            self.sections.append(a.get("id"))
        if tag == "details" and "group" in (a.get("class") or "").split():
            self.groups.append((a.get("data-code"), int(a.get("data-count"))))
        if tag == "p" and a.get("class") == "completeness":
            self._in_completeness = True
        if tag == "table":
            self._table = a.get("class")
            self.tables.setdefault(self._table, [])
            self.row_attrs.setdefault(self._table, [])
        if tag == "tr" and self._table is not None and "thead" not in self.stack:
            self._row = []
            self.row_attrs[self._table].append(a)
        if tag == "td" and self._row is not None:
            self._cell = ""

    def handle_endtag(self, tag):
        if tag in VOID:
            return
        if not self.stack or self.stack[-1] != tag:
            self.problems.append("</%s> closes <%s>" % (tag, self.stack[-1] if self.stack else ""))
            if tag in self.stack:
                while self.stack.pop() != tag:
                    pass
        else:
            self.stack.pop()
        if tag == "p":
            self._in_completeness = False
        if tag == "td" and self._row is not None:
            self._row.append(self._cell)
            self._cell = None
        if tag == "tr" and self._row is not None:
            self.tables[self._table].append(self._row)
            self._row = None
        if tag == "table":
            self._table = None

    def handle_data(self, data):
        if self._cell is not None:
            self._cell += data
        if self._in_completeness:
            self.completeness += data


def check(html, doc):
    page = Page()
    page.feed(html)
    page.close()
    p = page.problems
    if page.stack:
        p.append("tags left open: %s" % page.stack)
    if page.lang != "pt-BR":
        p.append("lang is %r" % page.lang)
    if not page.charset or not page.viewport:
        p.append("no UTF-8 charset or no viewport for phones")
    if page.scripts > 1:
        p.append("%d scripts" % page.scripts)
    if page.h1 != 1:
        p.append("%d <h1>" % page.h1)
    for needle in ("http:", "https:", "//", "@import", "url("):
        head = html.split("</style>")[0]
        if needle in head.split("<style>")[-1]:
            p.append("the style refers to %r" % needle)
    if page.sections != ["file", "types", "groups", "findings"]:
        p.append("sections %s" % page.sections)
    dup = {i for i in page.ids if page.ids.count(i) > 1}
    if dup:
        p.append("ids used twice: %s" % sorted(dup)[:5])
    ids = set(page.ids)
    for href in page.hrefs:
        if not href.startswith("#"):
            p.append("a link out of the page: %s" % href)
        elif href[1:] not in ids:
            p.append("a link to nothing: %s" % href)

    verdict = doc["verdict"]
    if page.outcome != verdict["outcome"]:
        p.append("banner %s, JSON %s" % (page.outcome, verdict["outcome"]))
    complete = doc["completeness"]["complete"]
    if ("Leitura interrompida" in page.completeness) == complete and verdict["outcome"] != "failed":
        p.append("the completeness line does not say whether the file was read whole: %r"
                 % page.completeness)

    types = page.tables.get("types", [])
    want = [[visible(t["code"]), t["total"], t["rejected"], t["warnings"], t["errors"]]
            for t in doc["record_types"]]
    got = [[r[0]] + [number(c) for c in r[1:]] for r in types]
    if got != want:
        p.append("per-type table differs from the JSON")

    want_groups = [(visible(g["code"]), g["count"]) for g in doc["groups"]]
    if page.groups != want_groups:
        p.append("groups %s, JSON %s" % (page.groups[:3], want_groups[:3]))
    examples = page.tables.get("examples", [])
    if len(examples) != sum(len(g["examples"]) for g in doc["groups"]):
        p.append("%d example rows, JSON %d"
                 % (len(examples), sum(len(g["examples"]) for g in doc["groups"])))

    rows = page.tables.get("findings", [])
    attrs = page.row_attrs.get("findings", [])
    if len(rows) != doc["counts"]["findings_listed"]:
        p.append("%d rows in the full list, %d findings" % (len(rows), doc["counts"]["findings_listed"]))
    line_ids = [a["id"] for a in attrs if "id" in a]
    lines = [number(r[0]) for r in rows]
    if line_ids != ["l%d" % n for n in sorted(set(lines))]:
        p.append("not one anchor per line")
    if "findings" in doc:
        want_rows = [(f["line"], visible(f["code"]), "g%d" % (f["group"] + 1)) for f in doc["findings"]]
        got_rows = [(number(r[0]), r[-1], a.get("data-group")) for r, a in zip(rows, attrs)]
        if got_rows != want_rows:
            p.append("the full list differs from the JSON's findings")
        stop_rows = sum(1 for a in attrs if "follows" in (a.get("class") or ""))
        if stop_rows != sum(1 for f in doc["findings"] if f["follows_stop"]):
            p.append("rows marked as following the stop differ from the JSON")
    return p


def main():
    program, workdir = sys.argv[1:3]
    os.makedirs(workdir, exist_ok=True)
    for name in os.listdir(workdir):
        os.remove(os.path.join(workdir, name))
    subprocess.run([program, workdir], check=True, stdout=subprocess.DEVNULL)
    names = sorted(n[:-5] for n in os.listdir(workdir) if n.endswith(".html"))
    if len(names) < 8:
        print("FAIL: only %d pages were written" % len(names))
        return 1
    failed = 0
    for name in names:
        with open(os.path.join(workdir, name + ".html"), "rb") as f:
            html = f.read().decode("utf-8")
        with open(os.path.join(workdir, name + ".json"), encoding="utf-8") as f:
            doc = json.load(f)
        problems = check(html, doc)
        if problems:
            failed += 1
            print("FAIL %s.html:\n  %s" % (name, "\n  ".join(problems[:10])))
        else:
            print("ok   %s.html (%s, %d groups, %d findings)"
                  % (name, doc["verdict"]["outcome"], len(doc["groups"]),
                     doc["counts"]["findings_listed"]))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
