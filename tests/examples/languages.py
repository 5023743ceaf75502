#!/usr/bin/env python3
# The examples in other languages than C++: each sends messages to the sample server, under Wine.
# SPDX-License-Identifier: MIT
"""Usage: languages.py c|javascript FOLDER_OF_THE_PROGRAMS [NAME_OF_A_TEST...]

The exit status is 77 when the language's interpreter is not there.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from programs import PATIENCE, WINE, Server, find_programs, program_path
from scripted_proxy import ScriptedProxy
from test_run import check, check_equal, end_in_order, run_tests, wanted_tests

ROOT = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = 77
# scripts/node.sh puts it there.
NODE = pathlib.Path(os.environ.get("WPK_WINDOWS_NODE", ROOT / "build" / "node" / "node.exe"))

program = None
server = None


def c_program():
    """The command, and what its environment has to hold besides."""
    return [str(WINE), program_path("c_send")], {}


def javascript_program():
    if not NODE.exists():
        return None, None
    # Wine leads to / as drive Z:. Node.js asks for a newer Windows than it needs.
    modules = "Z:" + str(NODE.parent / "node_modules").replace("/", "\\")
    # It loads the library from beside itself.
    script = shutil.copy(ROOT / "examples" / "javascript" / "wpk_send.js", sys.argv[2])
    return ([str(WINE), str(NODE), script],
            {"NODE_PATH": modules, "NODE_SKIP_PLATFORM_CHECK": "1"})


LANGUAGES = {"c": ("C", c_program), "javascript": ("JavaScript", javascript_program)}


class Program:
    def __init__(self, command, environment, folder):
        self._command = command
        self._environment = dict(os.environ, **environment)
        self._folder = folder

    def run(self, *arguments):
        """Returns exit status, standard output, standard error. The folder is where wpk.dll is."""
        result = subprocess.run(self._command + [str(argument) for argument in arguments], cwd=self._folder,
                                env=self._environment, stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE)
        return result.returncode, result.stdout, result.stderr

    def run_into(self, output, *arguments):
        """The same with standard output going elsewhere: exit status, standard error."""
        result = subprocess.run(self._command + [str(argument) for argument in arguments], cwd=self._folder,
                                env=self._environment, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.PIPE,
                                timeout=PATIENCE)
        return result.returncode, result.stderr

    def with_environment(self, **more):
        return Program(self._command, dict(self._environment, **more), self._folder)

    def copied_to(self, folder):
        """The same program, the last word of its command, alone in that folder; the library stays where it was."""
        return Program(self._command[:-1] + [shutil.copy(self._command[-1], folder)], self._environment, self._folder)

    def send(self, service, message, *more):
        return self.run("127.0.0.1", server.port, service, message, *more)


# ---- what all of them do ----


def test_program_writes_the_reply():
    check_equal(program.send("Reverse", "hello"), (0, b"olleh", b""))


def test_program_sends_an_empty_message_and_takes_an_empty_reply():
    check_equal(program.send("Echo", ""), (0, b"", b""))


def test_program_writes_a_large_reply_byte_for_byte():
    check_equal(program.send("Generate", "5000000"), (0, (b"abcdefghijklmnopqrstuvwxyz" * 192308)[:5000000], b""))


def test_program_changes_no_line_end():
    check_equal(program.send("Echo", "one\ntwo\r\nthree"), (0, b"one\ntwo\r\nthree", b""))


def test_program_reports_that_there_is_no_such_service():
    status, reply, errors = program.send("Nonsense", "x")
    check_equal((status, reply), (16, b""))
    check(b"error -6: The server has no service of that name." in errors, errors)


def test_program_says_what_happened_when_no_server_is_named():
    status, reply, errors = program.run("", server.port, "Echo", "x")
    check_equal((status, reply), (11, b""))
    check(b"error -1: The request is unusable: the server or the proxy is not named." in errors, errors)


def test_program_explains_its_arguments():
    status, reply, errors = program.run("127.0.0.1")
    check_equal((status, reply), (2, b""))
    check(b"usage: " in errors, errors)


def test_program_tells_its_version_and_its_usage_when_asked():
    status, version, errors = program.run("--version")
    check_equal((status, errors), (0, b""))
    check(re.fullmatch(rb"(c_send|wpk_send\.js) \d+\.\d+\.\d+\r?\n", version), version)
    status, usage, errors = program.run("--help")
    check_equal((status, errors), (0, b""))
    check(usage.startswith(b"usage: "), usage)


def test_program_refuses_what_is_no_port():
    for port in ["", "0", "65536", "http", "80x", "-80"]:
        status, reply, errors = program.run("127.0.0.1", port, "Echo", "x")
        check_equal((port, status, reply), (port, 2, b""))
        check(b" is no number from 1 to 65535" in errors, errors)


# ---- what the one in C does besides ----


def test_c_says_that_the_reply_cannot_be_written():
    with open("/dev/full", "wb") as full:
        status, errors = program.run_into(full, "127.0.0.1", server.port, "Generate", "100000")
    check_equal(status, 1)
    check(b"could not be written" in errors, errors)


# ---- what the one in JavaScript does besides ----


def test_javascript_says_that_koffi_is_missing():
    without = program.with_environment(NODE_PATH="")
    status, reply, errors = without.send("Echo", "x")
    check_equal((status, reply), (3, b""))
    check(b"npm install koffi" in errors and b"    at " not in errors, errors)


def test_javascript_says_that_the_library_is_missing():
    # The one in the current folder is not taken.
    with tempfile.TemporaryDirectory() as folder:
        status, reply, errors = program.copied_to(folder).send("Echo", "x")
    check_equal((status, reply), (3, b""))
    check(b"wpk.dll cannot be loaded" in errors and b"beside this program" in errors and b"    at " not in errors, errors)


def test_javascript_ends_when_its_answer_to_the_proxy_is_unusable():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        status, reply, errors = program.send("Echo", "hello", f"127.0.0.1:{proxy.port}", "a" * 300 + ":secret")
    check_equal((status, reply), (2, b""))
    check(b"more than 255 bytes" in errors, errors)


def test_javascript_answers_the_question_for_credentials():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        check_equal(program.send("Echo", "hello", f"127.0.0.1:{proxy.port}", "anna:secret"), (0, b"hello", b""))
        check_equal(proxy.seen, [None, ("anna", "secret")])


def test_javascript_gives_up_when_the_proxy_refuses_the_credentials():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        status, _, errors = program.send("Echo", "hello", f"127.0.0.1:{proxy.port}", "anna:wrong")
        check_equal((status, proxy.seen), (18, [None, ("anna", "wrong")]))
        check(b"error -8: " in errors, errors)


def main():
    global program, server
    end_in_order()
    find_programs(sys.argv[2])
    language, folder = sys.argv[1:3]
    command, environment = LANGUAGES[language][1]()
    if command is None:
        print(f"Skipped: there is no {NODE}; scripts/node.sh fetches it.")
        return SKIPPED
    program = Program(command, environment, folder)
    tests = {name: test for name, test in globals().items()
             if name.startswith("test_program_") or name.startswith(f"test_{language}_")}
    with Server() as server:
        return run_tests(LANGUAGES[language][0], wanted_tests(tests, sys.argv[3:]))


if __name__ == "__main__":
    sys.exit(main())
