"""Builds the sources with one fault in them, and lets the native tests look for it.

A worker has a copy of the sources of its own below build/mutation/, and a build folder in there: nobody else's tree is
ever changed. A program that is byte for byte what it is without the fault is not run; where that goes for all of them,
the compiler itself has shown that the fault changes nothing.
"""
import contextlib
import dataclasses
import filecmp
import hashlib
import json
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import threading
import time

# As Release but for what costs time and shows nothing: debug information, and warnings about what a fault leaves unused.
FLAGS = ("-DCMAKE_CXX_FLAGS=-w", "-DCMAKE_C_FLAGS=-w", "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g0", "-DWPK_FUZZ_REPLAY=ON")

# A test program has noticed a fault, too, when it uses so many times its usual processor time, and some seconds on top;
# when it stands still for so many seconds; and when it has taken so many seconds altogether. Only the last depends on what
# else the machine does, and is for programs that look again and again for something that never comes.
TIMES_USUAL, SECONDS_ON_TOP = 6, 10
SECONDS_STILL = 20
SECONDS_AT_ALL = 400

# What a test program may claim; a fault must not take the machine's memory away from others.
MEMORY = 12 << 30


@dataclasses.dataclass
class Program:
    name: str
    command: list
    folder: str
    environment: dict
    usual: float = 0.0  # seconds of processor time
    digest: str = ""


class BuildFailed(Exception):
    """The sources do not compile."""


class Worker:
    """One copy of the sources with its build, in which one fault at a time is tried."""

    def __init__(self, root, place, preset, stopped):
        self.root = root
        self.tree = place
        self.build = place / "build" / preset
        self.preset = preset
        self.stopped = stopped
        self.programs = []

    def prepare(self, usual):
        """Builds everything without a fault, and runs those programs that no other worker has run."""
        self._copy_sources()
        self._run(["cmake", "--preset", self.preset, *FLAGS], "configure.log")
        self._run(["cmake", "--build", "--preset", self.preset, "--target", "tests", "-j2"], "build.log")
        self.programs = self._find_programs()
        for program in self.programs:
            self._make(program)
            program.digest = _digest(program.command[0])
            if usual.take(program.name):
                usual.put(program.name, self._measure(program))
        for program in self.programs:
            program.usual = usual.wait_for(program.name)

    def _measure(self, program):
        program.usual = 60.0
        spent = _Spent()
        if self._notices(program, spent):
            raise BuildFailed(f"{program.name} fails without any fault; mend that first")
        return spent.seconds

    def try_fault(self, fault):
        """What came of it, and the program that noticed, if any."""
        path = self.tree / fault.path
        source = path.read_text(encoding="utf-8")
        path.write_text(fault.apply(source), encoding="utf-8")
        try:
            return self._look_for(fault)
        except BuildFailed:
            return "does not compile", ""
        finally:
            path.write_text(source, encoding="utf-8")

    def _look_for(self, fault):
        changed = False
        for program in self._in_order(fault):
            self._make(program)
            if _digest(program.command[0]) == program.digest:
                continue
            changed = True
            how = self._notices(program, _Spent())
            if how:
                return how, program.name
        return ("survived" if changed else "same code"), ""

    def _in_order(self, fault):
        """The tests of the folder first, then the others, the shortest first."""
        folder = pathlib.PurePath(fault.path).parent.name
        return sorted(self.programs, key=lambda program: (program.name != f"{folder}_tests", program.usual))

    def _copy_sources(self):
        listed = subprocess.run(
            ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            cwd=self.root, check=True, capture_output=True, text=True,
        ).stdout
        wanted = {name for name in listed.split("\0") if name and (self.root / name).is_file()}
        for name in wanted:
            source, copy = self.root / name, self.tree / name
            if not copy.exists() or not filecmp.cmp(source, copy, shallow=False):
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, copy)
        for folder in ("src", "include", "tests"):
            for copy in list((self.tree / folder).rglob("*")):
                if copy.is_file() and str(copy.relative_to(self.tree)) not in wanted and "__pycache__" not in copy.parts:
                    copy.unlink()

    def _find_programs(self):
        listed = subprocess.run(
            ["ctest", "--preset", self.preset, "--show-only=json-v1"],
            cwd=self.tree, check=True, capture_output=True, text=True,
        ).stdout
        found = []
        for test in json.loads(listed)["tests"]:
            properties = {entry["name"]: entry["value"] for entry in test["properties"]}
            command = test["command"]
            if pathlib.Path(command[0]).parent != self.build / "bin":
                continue  # a script that compiles something of its own
            environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
            found.append(Program(test["name"], command, properties["WORKING_DIRECTORY"], environment))
        return found

    def _make(self, program):
        target = pathlib.Path(program.command[0]).name
        self._run(["ninja", "-C", str(self.build), target], "fault.log")

    def _run(self, command, log):
        self.tree.mkdir(parents=True, exist_ok=True)
        with open(self.tree / log, "w", encoding="utf-8") as output:
            if self._execute(command, self.tree, {}, output) != 0:
                raise BuildFailed(f"{' '.join(command[:4])} has failed, see {self.tree / log}")

    def _notices(self, program, spent):
        """How the program notices that something is wrong; empty when it does not."""
        environment = {"GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1", "TMPDIR": str(self.tree / "tmp"), **program.environment}
        (self.tree / "tmp").mkdir(exist_ok=True)
        spent.limit = TIMES_USUAL * program.usual + SECONDS_ON_TOP
        status = self._execute(program.command, program.folder, environment, subprocess.DEVNULL, spent)
        if status is None:
            return "seen by its time"
        return "seen" if status != 0 else ""

    def _execute(self, command, folder, environment, output, spent=None):
        """The exit status; None when `spent` had enough of it."""
        if self.stopped.is_set():
            raise KeyboardInterrupt
        with subprocess.Popen(
            command, cwd=folder, env={**os.environ, **environment}, stdin=subprocess.DEVNULL, stdout=output,
            stderr=subprocess.STDOUT, start_new_session=True, preexec_fn=self._confine if spent else None,
        ) as process:
            try:
                while process.poll() is None and not self.stopped.is_set() and not (spent and spent.enough(process.pid)):
                    with contextlib.suppress(subprocess.TimeoutExpired):
                        process.wait(1.0)
                status = process.poll()
            finally:
                # Its children as well.
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
        if self.stopped.is_set():
            raise KeyboardInterrupt
        return status

    def _confine(self):
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if self.preset == "host":  # sanitizers claim terabytes
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))


class _Spent:
    """The time that a process takes, looked at every second."""

    def __init__(self):
        self.limit = 0.0
        self.seconds = 0.0
        self._begin = time.monotonic()
        self._still = 0

    def enough(self, pid):
        try:
            runs, seconds = self._look(pid)
        except (OSError, IndexError):
            return False  # it has just ended
        # A process that waits for its turn on a busy machine can run, so it does not stand still.
        self._still = 0 if runs or seconds > self.seconds + 0.1 else self._still + 1
        self.seconds = seconds
        return (
            seconds > self.limit or self._still > SECONDS_STILL or time.monotonic() > self._begin + SECONDS_AT_ALL
        )

    @staticmethod
    def _look(pid):
        """Whether any of its threads could run just now, and the processor time it has used."""
        states = [_stat_of(task)[0] for task in pathlib.Path(f"/proc/{pid}/task").iterdir()]
        used = sum(int(ticks) for ticks in _stat_of(pathlib.Path(f"/proc/{pid}"))[11:15])
        return any(state in "RD" for state in states), used / os.sysconf("SC_CLK_TCK")


def _stat_of(folder):
    """The fields after the name, which may hold blanks: first the state."""
    return (folder / "stat").read_text().rpartition(")")[2].split()


class UsualTimes:
    """What each program takes without a fault. One worker finds it out for all."""

    def __init__(self):
        self._changed = threading.Condition()
        self._taken = set()
        self._seconds = {}
        self._given_up = False

    def take(self, name):
        with self._changed:
            is_new = name not in self._taken
            self._taken.add(name)
            return is_new

    def put(self, name, seconds):
        with self._changed:
            self._seconds[name] = seconds
            self._changed.notify_all()

    def give_up(self):
        with self._changed:
            self._given_up = True
            self._changed.notify_all()

    def wait_for(self, name):
        with self._changed:
            self._changed.wait_for(lambda: self._given_up or name in self._seconds)
            if self._given_up:
                raise KeyboardInterrupt
            return self._seconds[name]


def _digest(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


def work_through(workers, faults, tell):
    """Lets the workers take faults until there are none, each on a thread of its own. Calls tell(fault, outcome, program)
    for each, one at a time."""
    lock = threading.Lock()
    usual = UsualTimes()
    failures = []

    def work(worker):
        try:
            worker.prepare(usual)
            while True:
                with lock:
                    fault = next(faults, None)
                if fault is None:
                    return
                outcome, program = worker.try_fault(fault)
                with lock:
                    tell(fault, outcome, program)
        except (BuildFailed, OSError, subprocess.SubprocessError) as failure:
            failures.append(failure)
            usual.give_up()
        except KeyboardInterrupt:
            usual.give_up()

    threads = [threading.Thread(target=work, args=(worker,)) for worker in workers]
    for thread in threads:
        thread.start()
    try:
        for thread in threads:
            thread.join()
    except KeyboardInterrupt:
        for worker in workers:
            worker.stopped.set()
        for thread in threads:
            thread.join()
        raise
    if failures:
        raise failures[0]
