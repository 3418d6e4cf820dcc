#!/usr/bin/env python3
"""Parses every translation unit of the project in a compile_commands.json with
-fsyntax-only and reports the ones that fail. Used for the libc++ check: Debian's Qt is
built against libstdc++, so a program built with libc++ cannot link to it, but every file
can be parsed the way Apple's toolchain parses it.

    parse-check.py COMPILE_COMMANDS PROJECT_ROOT"""
import json, os, shlex, subprocess, sys
from concurrent.futures import ThreadPoolExecutor


def parse_only(entry):
    words = shlex.split(entry["command"])
    kept, i = [], 0
    while i < len(words):
        if words[i] == "-o":
            i += 2
            continue
        if words[i] != "-c":
            kept.append(words[i])
        i += 1
    run = subprocess.run(kept + ["-fsyntax-only"], cwd=entry["directory"],
                         capture_output=True, text=True)
    return entry["file"], run.returncode, run.stderr


def main():
    entries = json.load(open(sys.argv[1]))
    root = os.path.realpath(sys.argv[2])
    entries = [e for e in entries
               if os.path.realpath(e["file"]).startswith(root + os.sep)
               and "_autogen" not in e["file"] and ".rcc" not in e["file"]]
    failing = 0
    with ThreadPoolExecutor(max_workers=os.cpu_count() or 2) as pool:
        for name, code, errors in pool.map(parse_only, entries):
            if code != 0:
                failing += 1
                print("FAIL " + os.path.relpath(os.path.realpath(name), root))
                print("\n".join(errors.splitlines()[:12]))
    print(f"{len(entries)} files parsed with libc++, {failing} failing")
    return 1 if failing else 0


if __name__ == "__main__":
    sys.exit(main())
