#!/usr/bin/env python3
"""gcov for gcovr, with the "(throw)" marks of blocks that never ran.

gcov 12 marks the exceptional edge of a call "(throw)" (and the normal one
"(fallthrough)") only in blocks that ran: in a function or block that never
ran it prints a bare "branch N never executed", so gcovr's
--exclude-throw-branches counts the exceptional edges of every call there
as branches never taken.  This runs gcov with gcovr's arguments, then asks
gcov for the same data as JSON (which carries the edge flags whether or not
the block ran) and adds the missing marks to the text files ("branch 2
never executed" becomes "branch 2 taken 0 (throw)", the form gcovr reads).
Counts and everything else are gcov's own.

Used by tools/coverage.sh:  gcovr --gcov-executable "python3 tools/gcov_throw_marks.py" ...
"""
import json
import os
import re
import subprocess
import sys

SOURCE_LINE = re.compile(r"^\s*[^:]+:\s*(\d+):")
BRANCH_LINE = re.compile(r"^branch\s+\d+\s+(never executed|taken .*)$")
FUNCTION_LINE = re.compile(r"^function (.*) called \d+")
CREATED = re.compile(r"Creating '(.*)'")


def edge_flags(args):
    """{(source, line): {function demangled name: [(throw, fallthrough), ...]}}"""
    data_file = next((a for a in args if a.endswith((".gcda", ".gcno"))), None)
    if data_file is None:
        return {}
    rest = [a for a in args if a not in ("--hash-filenames", "--preserve-paths")]
    out = subprocess.run(["gcov", "--json-format", "--stdout"] + rest, capture_output=True, text=True).stdout
    flags = {}
    for doc in out.splitlines():
        try:
            d = json.loads(doc)
        except ValueError:
            continue
        for f in d.get("files", []):
            names = {fn["name"]: fn.get("demangled_name", fn["name"]) for fn in f.get("functions", [])}
            for line in f.get("lines", []):
                edges = [(b["throw"], b["fallthrough"]) for b in line.get("branches", [])]
                if edges:
                    fn = names.get(line.get("function_name"), line.get("function_name"))
                    flags.setdefault((f["file"], line["line_number"]), {})[fn] = edges
    return flags


def mark(edges, k):
    if edges is None or k >= len(edges):
        return ""
    throw, fallthrough = edges[k]
    return " (fallthrough)" if fallthrough else " (throw)" if throw else ""


def annotate(path, flags):
    with open(path, encoding="utf-8", errors="surrogateescape") as f:
        lines = f.read().split("\n")
    source, function, lineno, k = None, None, None, 0
    changed = False
    for i, text in enumerate(lines):
        if source is None and ":Source:" in text:
            source = text.split(":Source:", 1)[1]
        m = FUNCTION_LINE.match(text)
        if m:
            function = m.group(1)
            continue
        m = SOURCE_LINE.match(text)
        if m and not text.startswith(("call", "branch")):
            lineno, k = int(m.group(1)), 0
            continue
        m = BRANCH_LINE.match(text)
        if not m:
            continue
        if text.endswith(")") or lineno is None:
            k += 1
            continue
        instances = flags.get((source, lineno), {})
        edges = instances.get(function)
        if edges is None:
            # A lambda's lines inside its parent's listing: any instance of
            # this line with the same edges will do.
            marks = {mark(e, k) for e in instances.values()}
            edges_mark = marks.pop() if len(marks) == 1 else ""
        else:
            edges_mark = mark(edges, k)
        if m.group(1) == "never executed" and edges_mark:
            # gcovr reads a mark only after a count.
            lines[i] = text.replace("never executed", "taken 0") + edges_mark
            changed = True
        k += 1
    if changed:
        with open(path, "w", encoding="utf-8", errors="surrogateescape") as f:
            f.write("\n".join(lines))


def main():
    args = sys.argv[1:]
    run = subprocess.run(["gcov"] + args, capture_output=True, text=True)
    sys.stdout.write(run.stdout)
    sys.stderr.write(run.stderr)
    if run.returncode == 0:
        flags = edge_flags(args)
        if flags:
            for created in CREATED.findall(run.stdout):
                if os.path.exists(created):
                    annotate(created, flags)
    return run.returncode


if __name__ == "__main__":
    sys.exit(main())
