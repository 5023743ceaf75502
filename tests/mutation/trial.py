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

# A test program that takes so many times its usual time, and some seconds on top, has noticed the fault by that.
PATIENCE, LEAST_PATIENCE = 6, 15

# What a test program may claim; a fault must not take the machine's memory away from others.
MEMORY = 12 << 30


@dataclasses.dataclass
class Program:
    name: str
    command: list
    folder: str
    environment: dict
    usual: float = 0.0
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

    def prepare(self):
        """Builds and measures everything without a fault; false when some test fails as it is."""
        self._copy_sources()
        self._run(["cmake", "--preset", self.preset, *FLAGS], "configure.log")
        self._run(["cmake", "--build", "--preset", self.preset, "--target", "tests", "-j2"], "build.log")
        self.programs = self._find_programs()
        for program in self.programs:
            self._make(program)
            program.digest = _digest(program.command[0])
            begin = time.monotonic()
            if self._notices(program, limit=600):
                raise BuildFailed(f"{program.name} fails without any fault; mend that first")
            program.usual = time.monotonic() - begin

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
            how = self._notices(program, PATIENCE * program.usual + LEAST_PATIENCE)
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
            if self._execute(command, self.tree, {}, output, limit=1200) != 0:
                raise BuildFailed(f"{' '.join(command[:4])} has failed, see {self.tree / log}")

    def _notices(self, program, limit):
        """How the program notices that something is wrong; empty when it does not."""
        environment = {"GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1", "TMPDIR": str(self.tree / "tmp"), **program.environment}
        (self.tree / "tmp").mkdir(exist_ok=True)
        status = self._execute(program.command, program.folder, environment, subprocess.DEVNULL, limit, confined=True)
        if status is None:
            return "seen by its time"
        return "seen" if status != 0 else ""

    def _execute(self, command, folder, environment, output, limit, confined=False):
        """The exit status; None when the time was up."""
        if self.stopped.is_set():
            raise KeyboardInterrupt
        with subprocess.Popen(
            command, cwd=folder, env={**os.environ, **environment}, stdin=subprocess.DEVNULL, stdout=output,
            stderr=subprocess.STDOUT, start_new_session=True,
            preexec_fn=self._confine if confined else None,
        ) as process:
            try:
                end = time.monotonic() + limit
                while process.poll() is None and time.monotonic() < end and not self.stopped.is_set():
                    with contextlib.suppress(subprocess.TimeoutExpired):
                        process.wait(min(1.0, max(0.0, end - time.monotonic())))
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


def _digest(path):
    return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()


def work_through(workers, faults, tell):
    """Lets the workers take faults until there are none, each on a thread of its own. Calls tell(fault, outcome, program)
    for each, one at a time."""
    lock = threading.Lock()
    failures = []

    def work(worker):
        try:
            worker.prepare()
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
        except KeyboardInterrupt:
            pass

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
