#!/usr/bin/env python3
"""Mutation testing: how many small faults planted in the code do the tests catch?

Mutants are planted in a copy of the tree (MUTATE_DIR/tree, built in MUTATE_DIR/tree/build),
so the checkout is never touched, and the copy gets its file back however the run ends.
Which mutants a seed picks depends only on each site's own text, so edits elsewhere do not
reshuffle the sample.

    make mutate MUTANTS=300 SEED=1 [LONG=1] [E2E=1] [JOBS=2] [ONLY=regex]
"""

import argparse
import hashlib
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

SOURCE_DIRS = ("src/core", "src/platform", "src/linux", "src/train")
COPIED = ("CMakeLists.txt", "cmake", "src", "tests", "resources", "demo", "bench", "scripts", "packaging")
TARGETS = ("unit_tests", "linux_tests", "gui_tests", "train", "rvinstall", "rvauthorize", "rvportal",
           "velmora_audio")
# The tests that watch the whole system or need another user: only with --long.
LONG_TESTS = "LinuxApplicationEvents.*:FaultMatrix.*:RealPkexec.*"
E2E_TESTS = "e2e_"

RELATIONAL = {"==": "!=", "!=": "==", "<": ">=", ">=": "<", ">": "<=", "<=": ">"}
LOGICAL = {"&&": "||", "||": "&&"}


@dataclass(frozen=True)
class Mutant:
    path: str
    line: int  # 1-based
    start: int  # column of the replaced text
    end: int
    replacement: str
    kind: str
    original_line: str
    occurrence: int = 0

    def describe(self):
        before = self.original_line[self.start:self.end].strip()
        return f"{self.kind}: '{before}' -> '{self.replacement.strip() or '(removed)'}'"

    def mutated_line(self):
        return self.original_line[:self.start] + self.replacement + self.original_line[self.end:]


def blank_literals(line):
    """The line with string and character literals (and a trailing // comment) blanked out,
    same length, so that sites are found in code only."""
    out = []
    i = 0
    while i < len(line):
        c = line[i]
        if c in "\"'":
            quote = c
            out.append(c)
            i += 1
            while i < len(line) and line[i] != quote:
                step = 2 if line[i] == "\\" else 1
                out.append("_" * min(step, len(line) - i))
                i += step
            if i < len(line):
                out.append(quote)
                i += 1
            continue
        if line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        out.append(c)
        i += 1
    return "".join(out)


def matching_paren(code, open_index):
    depth = 0
    for i in range(open_index, len(code)):
        if code[i] == "(":
            depth += 1
        elif code[i] == ")":
            depth -= 1
            if depth == 0:
                return i
    return -1


CALL_STATEMENT = re.compile(r"^(\s*)((?:[A-Za-z_][\w:]*(?:\.|->|::))*[A-Za-z_]\w*\s*\(.*\)\s*;)\s*$")
NOT_CALLS = {"return", "if", "while", "for", "switch", "sizeof", "delete", "throw", "case", "static_assert",
             "Q_OBJECT", "Q_UNUSED", "Q_DECLARE_METATYPE", "Q_EMIT", "emit"}


def sites(path, lines):
    in_block_comment = False
    previous = ";"  # the last code character before this line
    seen = {}
    for number, raw in enumerate(lines, 1):
        line = raw.rstrip("\n")
        code = blank_literals(line)
        if in_block_comment:
            end = code.find("*/")
            if end < 0:
                continue
            code = " " * (end + 2) + code[end + 2:]
            in_block_comment = False
        start = code.find("/*")
        if start >= 0:
            end = code.find("*/", start + 2)
            if end < 0:
                in_block_comment = True
                code = code[:start] + " " * (len(code) - start)
            else:
                code = code[:start] + " " * (end + 2 - start) + code[end + 2:]
        stripped = code.strip()
        if not stripped or stripped.startswith("#"):
            continue
        statement_start = previous in ";{}:)"
        previous = stripped[-1]
        if stripped.startswith("template"):
            continue
        # Lines alike in one file are told apart by their order.
        occurrence = seen.get(line.strip(), 0)
        seen[line.strip()] = occurrence + 1

        def make(start_col, end_col, replacement, kind):
            return Mutant(path, number, start_col, end_col, replacement, kind, line, occurrence)

        for m in re.finditer(r"(?<=\s)(==|!=|<=|>=|<|>)(?=\s)", code):
            yield make(m.start(), m.end(), RELATIONAL[m.group(1)], "relational")
        for m in re.finditer(r"(?<=\s)(&&|\|\|)(?=\s)", code):
            yield make(m.start(), m.end(), LOGICAL[m.group(1)], "logical")
        for m in re.finditer(r"\b(if|while)\s*\(", code):
            open_index = m.end() - 1
            close = matching_paren(code, open_index)
            if close < 0:
                continue
            inner = line[open_index + 1:close]
            if inner.lstrip().startswith(("auto ", "const ", "int ", "bool ")) or ";" in code[open_index:close]:
                continue  # an if with an initialiser or a declaration
            yield make(open_index + 1, close, f"!({inner})", "negated")
        m = re.search(r"\breturn\s+(true|false)\s*;", code)
        if m:
            yield make(m.start(1), m.end(1), "false" if m.group(1) == "true" else "true", "return")
        m = re.search(r"\breturn\s+(-?\d+)\s*;", code)
        if m:
            value = int(m.group(1))
            yield make(m.start(1), m.end(1), str(1 if value == 0 else 0), "return")
        m = CALL_STATEMENT.match(code) if statement_start else None
        if m and m.group(2).split("(")[0].split("::")[-1].split(".")[-1].split("->")[-1].strip() not in NOT_CALLS:
            first_word = re.match(r"\s*([A-Za-z_]\w*)", m.group(2)).group(1)
            if first_word not in NOT_CALLS and matching_paren(code, code.index("(")) == len(code.rstrip()) - 2:
                yield make(len(m.group(1)), len(line.rstrip()), "{}", "call removed")


def all_sites(root):
    found = []
    for folder in SOURCE_DIRS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".cpp", ".h") or not path.is_file():
                continue
            relative = str(path.relative_to(root))
            lines = path.read_text(encoding="utf-8", errors="surrogateescape").splitlines(True)
            found.extend(sites(relative, lines))
    return found


def pick(candidates, count, seed):
    """The same seed picks the same site as long as the site's own line is unchanged."""
    def key(mutant):
        occurrence = f"{mutant.path}\0{mutant.original_line.strip()}\0{mutant.occurrence}\0{mutant.kind}\0{mutant.start}\0{mutant.replacement}"
        return hashlib.sha256(f"{seed}\0{occurrence}".encode()).hexdigest()
    # Run in the seed's order too, so that a run cut short is a fair sample, and the same as
    # a run asked for only that many.
    return sorted(candidates, key=key)[:count]


class Tree:
    """The copy the mutants go into; put_back() restores the one file changed."""

    def __init__(self, source, workdir):
        self.source = source
        self.root = workdir / "tree"
        self.build = self.root / "build"
        self.changed = None  # (path, original bytes)

    def sync(self):
        """Copies what differs; unchanged files keep their times, so the copy's build stays
        incremental."""
        wanted = set()
        for name in COPIED:
            src = self.source / name
            files = [src] if src.is_file() else [p for p in src.rglob("*") if p.is_file()] if src.is_dir() else []
            for f in files:
                relative = f.relative_to(self.source)
                wanted.add(relative)
                target = self.root / relative
                if target.exists() and target.read_bytes() == f.read_bytes():
                    continue
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(f, target)
        for name in COPIED:
            folder = self.root / name
            if folder.is_dir():
                for f in [p for p in folder.rglob("*") if p.is_file()]:
                    if f.relative_to(self.root) not in wanted:
                        f.unlink()

    def apply(self, mutant):
        path = self.root / mutant.path
        original = path.read_bytes()
        self.changed = (path, original)
        lines = original.decode("utf-8", errors="surrogateescape").splitlines(True)
        ending = lines[mutant.line - 1][len(mutant.original_line):]
        lines[mutant.line - 1] = mutant.mutated_line() + ending
        path.write_bytes("".join(lines).encode("utf-8", errors="surrogateescape"))

    def put_back(self):
        if self.changed:
            path, original = self.changed
            path.write_bytes(original)
            self.changed = None


def run(command, cwd, timeout, env=None, log=None):
    """Exit status, or None on a time-out (the whole process group is killed)."""
    process = subprocess.Popen(command, cwd=cwd, env=env, stdout=log or subprocess.DEVNULL,
                               stderr=subprocess.STDOUT, start_new_session=True)
    try:
        return process.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        return None
    except BaseException:
        os.killpg(process.pid, signal.SIGKILL)  # stopped: take the build or tests down too
        process.wait()
        raise


class Suites:
    def __init__(self, tree, args):
        self.tree = tree
        self.args = args
        home = tree.build / "tests" / "home"
        self.env = dict(os.environ, HOME=str(home), XDG_CONFIG_HOME=str(home / ".config"),
                        XDG_DATA_HOME=str(home / ".local/share"), LANG="C.UTF-8", TZ="UTC",
                        QT_QPA_PLATFORM="offscreen")

    def binaries(self):
        b = self.tree.build
        return {
            "unit": [b / "tests/unit_tests"],
            "linux": [b / "tests/linux_tests", b / "src/train/train", b / "tests/rvinstall",
                      b / "tests/rvauthorize", b / "tests/rvportal"],
            "gui": [b / "tests/gui_tests"] + sorted(b.rglob("libvelmora-audio.so")),
            "x11": [b / "tests/x11_tests", b / "tests/rvqtwindow"],
        }

    def fingerprint(self):
        prints = {}
        for suite, files in self.binaries().items():
            digest = hashlib.sha256()
            for f in files:
                if f.exists():
                    digest.update(f.read_bytes())
            prints[suite] = digest.hexdigest()
        return prints

    def names(self):
        return ["unit", "linux", "gui"] + (["x11"] if self.args.x11 else [])

    def commands(self, suite):
        b = self.tree.build / "tests"
        fail_fast = ["--gtest_fail_fast", "--gtest_brief=1"]
        if suite == "unit":
            return [[str(b / "unit_tests")] + fail_fast]
        if suite == "linux":
            skip = "" if self.args.long else f"-{LONG_TESTS}"
            return [[str(b / "linux_tests")] + fail_fast + ([f"--gtest_filter={skip}"] if skip else [])]
        if suite == "x11":
            return [[str(self.tree.root / "tests/x11/with-x11.sh"), str(b / "x11_tests")] + fail_fast +
                    ["--gtest_filter=-AccessibilityTest.*"]]
        return [[str(b / "gui_tests")] + fail_fast]

    def run(self, suites, timeout, log):
        """'killed', 'survived' or 'time-out'."""
        deadline = time.monotonic() + timeout
        for suite in suites:
            for command in self.commands(suite):
                left = deadline - time.monotonic()
                if left <= 0:
                    return "time-out"
                status = run(command, self.tree.build / "tests", left, self.env, log)
                if status is None:
                    return "time-out"
                if status != 0:
                    return "killed"
        if self.args.e2e:
            status = run(["ctest", "-R", E2E_TESTS, "--stop-on-failure"], self.tree.build,
                         max(deadline - time.monotonic(), 1) + 600, self.env, log)
            if status is None:
                return "time-out"
            if status != 0:
                return "killed"
        return "survived"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--mutants", type=int, default=int(os.environ.get("MUTANTS", 50)))
    parser.add_argument("--seed", default=os.environ.get("SEED", "1"))
    parser.add_argument("--workdir", default=os.environ.get("MUTATE_DIR", "build-mutate"))
    parser.add_argument("--jobs", default=os.environ.get("JOBS", "2"))
    parser.add_argument("--long", action="store_true", default=os.environ.get("LONG") == "1",
                        help="also the tests that watch the whole system or need another user")
    parser.add_argument("--x11", action="store_true", default=os.environ.get("X11") == "1",
                        help="also the tests on a private X server (window system, front switches)")
    parser.add_argument("--e2e", action="store_true", default=os.environ.get("E2E") == "1",
                        help="also the end-to-end runs of the built installer")
    parser.add_argument("--timeout", type=float, default=float(os.environ.get("MUTANT_TIMEOUT", 0)),
                        help="seconds per mutant's tests (default: three times the clean run, at least 60)")
    parser.add_argument("--rev", default=os.environ.get("REV"),
                        help="measure this commit instead of the working tree")
    parser.add_argument("--only", default=os.environ.get("ONLY"),
                        help="of the picked mutants, run those whose 'file:line: mutation' matches this regex")
    parser.add_argument("--list", action="store_true", help="only list the picked mutants")
    parser.add_argument("--report", action="store_true", help="only report the last run's results (also a cut one)")
    args = parser.parse_args()

    source = Path(__file__).resolve().parent.parent
    workdir = Path(args.workdir)
    if not workdir.is_absolute():
        workdir = source / workdir
    if args.rev:
        exported = workdir / "source"
        shutil.rmtree(exported, ignore_errors=True)
        exported.mkdir(parents=True)
        archive = subprocess.run(["git", "-C", str(source), "archive", args.rev], check=True, capture_output=True)
        subprocess.run(["tar", "-x", "-C", str(exported)], input=archive.stdout, check=True)
        source = exported
    tree = Tree(source, workdir)
    mutants = pick(all_sites(source), args.mutants, args.seed)
    if args.only:
        # Filtered after picking, so a slice checks the same sites as the whole sample.
        mutants = [m for m in mutants if re.search(args.only, f"{m.path}:{m.line}: {m.describe()}")]
    if args.list:
        for m in mutants:
            print(f"{m.path}:{m.line}: {m.describe()}")
        return 0

    if args.report:
        results_file = workdir / "results.txt"
        lines = results_file.read_text(encoding="utf-8").splitlines() if results_file.exists() else []
        report([(line[:16].strip(), line[16:].strip()) for line in lines if line.strip()], workdir)
        return 0

    def stop(signum, _frame):
        raise Stopped(signum)
    for s in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(s, stop)

    try:
        return measure(tree, args, mutants, workdir)
    finally:
        tree.put_back()


def measure(tree, args, mutants, workdir):
    tree.sync()
    env = dict(os.environ, CCACHE_BASEDIR=str(tree.root), CCACHE_NOHASHDIR="1")
    logs = workdir / "logs"
    logs.mkdir(parents=True, exist_ok=True)
    if not (tree.build / "build.ninja").exists():
        subprocess.run(["cmake", "-S", str(tree.root), "-B", str(tree.build), "-G", "Ninja",
                        "-DCMAKE_BUILD_TYPE=RelWithDebInfo"], check=True, env=env, stdout=subprocess.DEVNULL)
    # The end-to-end runs need everything: the installer, the demo, the packed file.
    build = ["nice", "cmake", "--build", str(tree.build), "-j", str(args.jobs)] + ([] if args.e2e else ["--target", *TARGETS] + (["x11_tests", "rvqtwindow"] if args.x11 else []))
    print("building the unchanged copy ...", flush=True)
    with open(logs / "clean-build.log", "wb") as log:
        if run(build, tree.root, None, env, log) != 0:
            print(f"the unchanged copy does not build; see {logs / 'clean-build.log'}", file=sys.stderr)
            return 2
    suites = Suites(tree, args)
    started = time.monotonic()
    with open(logs / "clean-tests.log", "wb") as log:
        outcome = suites.run(suites.names(), 3600, log)
    clean_seconds = time.monotonic() - started
    if outcome != "survived":
        print(f"the unchanged tests do not pass ({outcome}); see {logs / 'clean-tests.log'}", file=sys.stderr)
        return 2
    timeout = args.timeout or max(60.0, 3 * clean_seconds)
    print(f"clean tests: {clean_seconds:.0f} s; time-out per mutant {timeout:.0f} s; {len(mutants)} mutants",
          flush=True)
    clean_prints = suites.fingerprint()

    results = []
    results_file = open(workdir / "results.txt", "w", encoding="utf-8")
    try:
        run_mutants(tree, mutants, build, env, suites, clean_prints, timeout, logs, results, results_file)
    except Stopped as stopped:
        tree.put_back()
        print(f"\nstopped by signal {stopped.args[0]} after {len(results)} of {len(mutants)} mutants; "
              "the copy is restored", flush=True)
    # Leave the copy's build matching the unchanged sources.
    with open(logs / "final-build.log", "wb") as log:
        run(build, tree.root, None, env, log)
    report(results, workdir)
    return 0


class Stopped(Exception):
    pass


def run_mutants(tree, mutants, build, env, suites, clean_prints, timeout, logs, results, results_file):
    for index, mutant in enumerate(mutants, 1):
        where = f"{mutant.path}:{mutant.line}"
        tree.apply(mutant)
        log_path = logs / f"mutant-{index:04d}.log"
        with open(log_path, "wb") as log:
            built = run(build, tree.root, 900, env, log)
            if built != 0:
                outcome = "did-not-compile"
            else:
                prints = suites.fingerprint()
                changed = [s for s in suites.names() if prints[s] != clean_prints[s]]
                # A mutant that changes no tested binary is one no test can see.
                outcome = suites.run(changed, timeout, log) if changed else "survived"
        tree.put_back()
        if outcome == "killed":
            log_path.unlink(missing_ok=True)
        results.append((outcome, f"{where}: {mutant.describe()}"))
        line = f"{outcome:16} {where}: {mutant.describe()}"
        print(f"[{index}/{len(mutants)}] {line}", flush=True)
        results_file.write(line + "\n")
        results_file.flush()


def report(results, workdir):
    """results: (outcome, "file:line: mutation") in the order run."""
    counts = {k: sum(1 for o, _ in results if o == k) for k in ("killed", "survived", "time-out", "did-not-compile")}
    compiled = counts["killed"] + counts["survived"] + counts["time-out"]
    detected = counts["killed"] + counts["time-out"]
    print()
    print(" ".join(f"{k} {v}" for k, v in counts.items()))
    if compiled:
        print(f"mutation score: {counts['killed']}/{compiled} = {100.0 * counts['killed'] / compiled:.1f}% "
              f"(killed over compiled; with time-outs counted as caught {100.0 * detected / compiled:.1f}%)")
    print(f"{len(results)} mutants run")
    survivors = [where for o, where in results if o == "survived"]
    print("survivors:")
    for s in survivors:
        print(f"  {s}")
    (workdir / "survivors.txt").write_text("".join(s + "\n" for s in survivors), encoding="utf-8")


if __name__ == "__main__":
    sys.exit(main())
