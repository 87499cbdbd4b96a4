#!/usr/bin/env python3
"""Tells how much of src/ the tests reach, and whether that is enough.

    tests/coverage.py BUILD_FOLDER

The folder holds a build of the coverage preset and, in profiles/, what its programs counted. A line or a branch of a
template counts once, and is reached when any instance reaches it. A branch is one way out of a condition's part; a part
that is a constant in every instance has none. What isn't reached has to stand in docs/coverage.md with a reason, and
nothing else may stand there.
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXCUSES = ROOT / "docs/coverage.md"
LEAST_LINES = 98
LEAST_BRANCHES = 95

# What llvm-cov shows of a file, and of each instance of a template behind a bar.
LINE = re.compile(r"^[ |]*?(\d+)\| *([\d.]*[kMGTPEZY]?)\|(.*)$")
BRANCH = re.compile(r"^[ |]*Branch \((\d+):(\d+)\): \[True: ([\d.]+\w?), False: ([\d.]+\w?)\]$")
EXCUSE = re.compile(r"^\| ([\w./]+) \| `(.+)` \| ([\w ]+) \| (.+) \|$")


class Source:
    """What was counted in a file of src/."""

    def __init__(self):
        self.text = {}  # by the line's number
        self.lines = {}  # whether it was reached, by number
        self.branches = {}  # whether it was reached, by (line, column, way)

    def count_line(self, number, text, count):
        self.text[number] = text
        if count:
            self.lines[number] = self.lines.get(number, False) or count != "0"

    def count_branch(self, line, column, way, count):
        place = (line, column, way)
        self.branches[place] = self.branches.get(place, False) or count != "0"

    def missed(self):
        """What wasn't reached, as (line's number, text from there on, what). Lines that follow each other are one."""
        run = []
        for number, reached in [*sorted(self.lines.items()), (0, True)]:
            if not reached:
                run.append(number)
            elif run:
                yield run[0], self.text[run[0]].strip(), f"{len(run)} line{'s' if len(run) > 1 else ''}"
                run = []
        for (line, column, way), reached in sorted(self.branches.items()):
            if not reached and self.lines.get(line, True):
                yield line, self.text[line][column - 1:].strip(), f"never {way}"


def run_tool(*command):
    """What the tool prints."""
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8", errors="replace")
    if done.returncode != 0:
        sys.exit(f"{command[0]} failed: {done.stderr}")
    return done.stdout


def read_counts(folder):
    """The files of src/ by their path there."""
    profile = folder / "profiles/all.profdata"
    raw = sorted((folder / "profiles").glob("*.profraw"))
    if not raw:
        sys.exit(f"{folder / 'profiles'} holds no counts. Run ./dev coverage, which makes them.")
    run_tool("llvm-profdata-14", "merge", "--sparse", *raw, "-o", profile)
    report = run_tool("llvm-cov-14", "show", f"--instr-profile={profile}", "--show-branches=count",
                      "--show-instantiations", "--show-expansions=false",
                      r"--ignore-filename-regex=/(tests|host|include|fuzz)/|^/usr/",
                      folder / "libqzmtraw.so", f"--object={folder / 'frame_tests'}")
    sources = {}
    source = None
    for text in report.split("\n"):
        if text.startswith("/") and text.endswith(":"):
            source = sources.setdefault(str(pathlib.Path(text[:-1]).resolve().relative_to(ROOT / "src")), Source())
        elif line := LINE.match(text):
            source.count_line(int(line[1]), line[3], line[2])
        elif branch := BRANCH.match(text):
            for way, count in (("true", branch[3]), ("false", branch[4])):
                source.count_branch(int(branch[1]), int(branch[2]), way, count)
    return sources


def read_excuses():
    """The places that may be missed, as (path, text, what)."""
    rows = (EXCUSE.match(line) for line in EXCUSES.read_text("utf-8").split("\n"))
    return {(row[1], row[2].replace("\\|", "|"), row[3]) for row in rows if row}


def percentage(reached):
    reached = list(reached)
    return 100 * sum(reached) / len(reached) if reached else 100


def main():
    sources = read_counts(pathlib.Path(sys.argv[1]))
    excuses = read_excuses()
    unused = set(excuses)
    unexcused = []
    print(f"{'':44} {'lines':>7} {'reached':>8} {'branches':>9} {'reached':>8}")
    for path, source in sorted(sources.items()):
        print(f"{path:44} {len(source.lines):7} {percentage(source.lines.values()):7.2f}%"
              f" {len(source.branches):9} {percentage(source.branches.values()):7.2f}%")
        for line, text, what in source.missed():
            unused.discard((path, text, what))
            if (path, text, what) not in excuses:
                unexcused.append(f"src/{path}:{line}: {what}: {text}")
    every_line = [reached for source in sources.values() for reached in source.lines.values()]
    every_branch = [reached for source in sources.values() for reached in source.branches.values()]
    lines = percentage(every_line)
    branches = percentage(every_branch)
    print(f"{'in all':44} {len(every_line):7} {lines:7.2f}% {len(every_branch):9} {branches:7.2f}%\n")

    mistakes = []
    if unexcused:
        mistakes.append("No test reaches these, and docs/coverage.md doesn't say why:\n  " + "\n  ".join(unexcused))
    if unused:
        mistakes.append("docs/coverage.md says of these that no test reaches them, but one does, or they are gone:\n  "
                        + "\n  ".join(f"src/{path}: {what}: {text}" for path, text, what in sorted(unused)))
    if lines < LEAST_LINES or branches < LEAST_BRANCHES:
        mistakes.append(f"At least {LEAST_LINES} % of the lines and {LEAST_BRANCHES} % of the branches must be reached.")
    if mistakes:
        sys.exit("\n".join(mistakes))


if __name__ == "__main__":
    main()
