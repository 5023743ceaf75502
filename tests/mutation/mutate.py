"""Plants faults in the sources, one at a time, and says which of them the tests do not notice. See scripts/mutate.sh."""
import argparse
import collections
import hashlib
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import threading

import faults
import trial

ROOT = pathlib.Path(__file__).resolve().parents[2]
HERE = pathlib.Path(__file__).parent

# What native tests are there for. The C++ layer's are under Wine, but for its storms.
USUAL_FOLDERS = ("src", "include/wpk/xml", "include/wpk/xml_helpers")

# Outcomes in which a fault was planted that the tests could have seen.
COUNTED = ("seen", "seen by its time", "survived")


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutate.sh", description=__doc__)
    parser.add_argument("number", nargs="?", type=int, default=30, metavar="N", help="faults that count; 30 if not given")
    parser.add_argument("folder", nargs="?", metavar="FOLDER", help="a folder or file below src or include; all if not given")
    parser.add_argument("--seed", type=int, default=os.environ.get("WPK_MUTATE_SEED"), help="the same faults again")
    parser.add_argument("--preset", default="host", choices=("host", "asan", "tsan"), help="the build whose tests look")
    parser.add_argument("--workers", type=int, default=2, choices=(1, 2), help="builds at a time")
    parser.add_argument("--again", action="store_true", help="try the survivors of this seed once more, and only them")
    return parser.parse_args()


def read_sources(folder):
    """Path and text of each source that faults may be planted in."""
    found = {}
    for start in [folder] if folder else USUAL_FOLDERS:
        place = ROOT / start
        files = [place] if place.is_file() else sorted(place.rglob("*"))
        for file in files:
            if file.suffix in (".cpp", ".h"):
                found[str(file.relative_to(ROOT))] = file.read_text(encoding="utf-8")
    if not found:
        sys.exit(f"mutate.sh: there are no sources in {folder}")
    return found


def in_random_order(keys, seed):
    """All faults. An edit of the sources leaves the order of the others as it was. Each kind has its turn, so that the
    rarer ones are not lost among the many constants."""
    by_kind = collections.defaultdict(list)
    for fault in sorted(keys, key=lambda fault: hashlib.sha256(f"{seed} {keys[fault]}".encode()).digest()):
        by_kind[fault.kind].append(fault)
    while any(by_kind.values()):
        for kind in faults.KINDS:
            if by_kind[kind]:
                yield by_kind[kind].pop(0)


def keys_of(sources):
    """By what the ledger knows each fault: its lines and how often they have come before, which edits elsewhere leave
    alone."""
    keys = {}
    times = collections.Counter()
    for path, source in sources.items():
        for fault in faults.faults_of(path, source):
            lines = (path, *fault.lines(source))
            keys[fault] = (*lines, times[lines])
            times[lines] += 1
    return keys


def read_equivalents(path):
    """The faults that change nothing, as (file, line before, line after).

    Each is a block of lines: the file; the line before, after "- "; the line with the fault, after "+ "; the reason.
    """
    known = set()
    file = before = None
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("- "):
            before = line[2:]
        elif line.startswith("+"):
            known.add((file, before, line[2:]))
        elif line.startswith(("src/", "include/")):
            file = line
    return known


class Ledger:
    """What has come of each fault so far, in a file, so that a run that was broken off goes on where it was."""

    def __init__(self, path):
        self._path = path
        self._known = {}
        path.parent.mkdir(parents=True, exist_ok=True)
        if path.exists():
            for line in path.read_text(encoding="utf-8").splitlines():
                entry = json.loads(line)
                self._known[tuple(entry["fault"])] = entry["outcome"], entry["program"]

    def get(self, key):
        return self._known.get(key)

    def add(self, key, outcome, program):
        self._known[key] = outcome, program
        with open(self._path, "a", encoding="utf-8") as file:
            file.write(json.dumps({"fault": key, "outcome": outcome, "program": program}) + "\n")


class Run:
    def __init__(self, options, seed):
        self._options = options
        self._sources = read_sources(options.folder)
        self._keys = keys_of(self._sources)
        self._faults = in_random_order(self._keys, seed)
        self._equivalents = read_equivalents(HERE / "equivalent.txt")
        place = (options.folder or "all").rstrip("/").replace("/", "-")
        self._ledger = Ledger(ROOT / "build" / "mutation" / f"{options.preset}-{place}-{seed}.jsonl")
        self._tally = collections.Counter()
        self._survivors = []
        self._under_way = 0

    def faults(self):
        """Those to be tried. Those that need not be are counted on the way."""
        for fault in self._faults:
            if self._counted() + self._under_way >= self._options.number:
                return
            known = self._ledger.get(self._keys[fault])
            if self._keys[fault][:3] in self._equivalents:
                self._tally["changes nothing (listed)"] += 1
            elif known and not (self._options.again and known[0] == "survived"):
                self._take(fault, known[0])
            elif known or not self._options.again:
                self._under_way += 1
                yield fault

    def tell(self, fault, outcome, program):
        self._under_way -= 1
        self._ledger.add(self._keys[fault], outcome, program)
        self._take(fault, outcome)
        where = f"{fault.path}:{fault.line(self._sources[fault.path])}"
        print(f"{self._counted():4} {outcome}{' by ' + program if program else ''}: {fault.kind}, {where}", flush=True)
        if outcome == "survived":
            self._show(fault)

    def print_score(self):
        print()
        for fault in self._survivors:
            self._show(fault)
        for outcome, count in sorted(self._tally.items()):
            print(f"{count:5} {outcome}")
        counted, survived = self._counted(), self._tally["survived"]
        if counted:
            print(f"{counted - survived} of {counted} seen: {100 * (counted - survived) / counted:.1f} %")

    def survivors(self):
        return len(self._survivors)

    def _counted(self):
        return sum(self._tally[outcome] for outcome in COUNTED)

    def _take(self, fault, outcome):
        self._tally[outcome] += 1
        if outcome == "survived":
            self._survivors.append(fault)

    def _show(self, fault):
        _, before, after, _ = self._keys[fault]
        print(f"{fault.path}:{fault.line(self._sources[fault.path])}\n- {before}\n+ {after}", flush=True)


def end_in_order():
    """Ended from outside, a run still ends what it has started; in the background, too, where Ctrl-C is ignored."""
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, signal.default_int_handler)


def main():
    end_in_order()
    options = arguments()
    seed = int(options.seed) if options.seed is not None else random.SystemRandom().randrange(1, 1_000_000)
    print(f"Seed {seed}. Building without a fault first.", flush=True)
    run = Run(options, seed)
    stopped = threading.Event()
    place = ROOT / "build" / "mutation"
    workers = [trial.Worker(ROOT, place / str(i + 1), options.preset, stopped) for i in range(options.workers)]
    try:
        trial.work_through(workers, run.faults(), run.tell)
    except (trial.BuildFailed, OSError, subprocess.SubprocessError) as failure:
        sys.exit(f"mutate.sh: {failure}")
    except KeyboardInterrupt:
        print(f"\nBroken off. The same command with --seed {seed} goes on.")
    run.print_score()
    return 1 if run.survivors() else 0


if __name__ == "__main__":
    sys.exit(main())
