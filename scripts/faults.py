#!/usr/bin/env python3
"""Seeds faults one at a time into the sources, rebuilds, runs the tests, restores.

Usage (from a configured build, e.g. after scripts/setup.sh):
  python3 scripts/faults.py [--tree DIR] [--build DIR] [--only ID[,ID...]] [--jobs N]
      [--out FILE] [FAULTS.txt ...]
Without files, every tests/faults/*.txt is used. A fault every test passes with
is a gap in the tests (or a change that cannot be told apart from the code).

For each fault: applies it (exact text replacement, must match exactly once), runs
`cmake --build BUILD -j JOBS` (a build failure counts as 'NOBUILD', not as caught), runs
`ctest --test-dir BUILD --timeout 60` with QT_QPA_PLATFORM=offscreen, records the failing
tests, and restores the original file (also on Ctrl-C). Prints one line per fault:
  ID CAUGHT tst_a,tst_b | ID MISSED | ID NOBUILD | ID NOMATCH
With --out, the same lines are written to FILE. At the end the tree is rebuilt clean.

Fault file format (blocks; lines before the first block are ignored):
  == ID | free description
  file: src/path/File.cpp
  <<<
  exact original text (one or more lines)
  ===
  replacement text (zero or more lines)
  >>>
"""
import argparse
import glob
import os
import re
import subprocess
import sys


def parse(path):
    mutants = []
    lines = open(path, encoding="utf-8").read().split("\n")
    i = 0
    while i < len(lines):
        line = lines[i]
        if line.startswith("== "):
            head = line[3:]
            ident, _, desc = head.partition("|")
            m = {"id": ident.strip(), "desc": desc.strip()}
            i += 1
            m["file"] = lines[i].split(":", 1)[1].strip()
            i += 1
            assert lines[i] == "<<<", f"{path}: expected <<< for {m['id']}"
            i += 1
            old = []
            while lines[i] != "===":
                old.append(lines[i])
                i += 1
            i += 1
            new = []
            while lines[i] != ">>>":
                new.append(lines[i])
                i += 1
            m["old"] = "\n".join(old)
            m["new"] = "\n".join(new)
            mutants.append(m)
        i += 1
    return mutants


def run(cmd, cwd=None, env=None):
    return subprocess.run(cmd, cwd=cwd, env=env, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace")


def failing_tests(build, env):
    out = run(["ctest", "--test-dir", build, "--timeout", "60"], env=env).stdout
    names = re.findall(r"\d+ - (\S+) \(", out)
    if not names and "tests failed" in out and "0 tests failed" not in out:
        names = ["?"]
    return names


def main():
    ap = argparse.ArgumentParser()
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    ap.add_argument("--tree", default=root)
    ap.add_argument("files", nargs="*")
    ap.add_argument("--build")
    ap.add_argument("--only")
    ap.add_argument("--jobs", default="1")
    ap.add_argument("--out")
    args = ap.parse_args()
    tree = os.path.abspath(args.tree)
    build = args.build or os.path.join(tree, "build")
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen", CCACHE_BASEDIR=tree,
               CCACHE_NOHASHDIR="1")
    files = args.files or sorted(glob.glob(os.path.join(tree, "tests", "faults", "*.txt")))
    mutants = [m for path in files for m in parse(path)]
    if args.only:
        wanted = set(args.only.split(","))
        mutants = [m for m in mutants if m["id"] in wanted]
    out = open(args.out, "w", encoding="utf-8") if args.out else None

    def report(text):
        print(text, flush=True)
        if out:
            out.write(text + "\n")
            out.flush()

    for m in mutants:
        path = os.path.join(tree, m["file"])
        original = open(path, encoding="utf-8").read()
        if original.count(m["old"]) != 1:
            report(f"{m['id']} NOMATCH ({original.count(m['old'])} matches)")
            continue
        try:
            with open(path, "w", encoding="utf-8") as f:
                f.write(original.replace(m["old"], m["new"]))
            built = run(["cmake", "--build", build, "-j", args.jobs], env=env)
            if built.returncode != 0:
                report(f"{m['id']} NOBUILD")
                continue
            names = failing_tests(build, env)
            report(f"{m['id']} CAUGHT {','.join(names)}" if names else f"{m['id']} MISSED")
        finally:
            with open(path, "w", encoding="utf-8") as f:
                f.write(original)
            # Keep the file's timestamp moving so the next build recompiles it.
            os.utime(path)
    run(["cmake", "--build", build, "-j", args.jobs], env=env)
    return 0


if __name__ == "__main__":
    sys.exit(main())
