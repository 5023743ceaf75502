# Starting the example programs under Wine, and talking to the server without the library.
# SPDX-License-Identifier: MIT
import os
import pathlib
import pty
import re
import select
import signal
import socket
import struct
import subprocess
import threading
import time
import tty

WINE = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "wine.sh"
# For whatever should come at once, on a machine that is busy with other things.
PATIENCE = 120
# Wine gives a process a second for its end, which can be too short on a busy machine, and kills it then.
KILLED = -signal.SIGKILL
_folder = None


def find_programs(folder):
    global _folder
    _folder = pathlib.Path(folder).resolve()


def program_path(program):
    return str(_folder / (program + ".exe"))


def program_command(program, arguments):
    return [str(WINE), program_path(program)] + [str(argument) for argument in arguments]


def say_that_it_was_killed(command):
    print(f"Killed by Wine, and run once more: {' '.join(command[1:])}", flush=True)


class LineReader(threading.Thread):
    """Collects a pipe's bytes, and wakes who waits for a line of them."""

    def __init__(self, pipe):
        super().__init__(daemon=True)
        self._pipe = pipe
        self._changed = threading.Condition()
        self._ended = False
        self.bytes = b""
        self.start()

    def run(self):
        while piece := os.read(self._pipe.fileno(), 65536):
            with self._changed:
                self.bytes += piece
                self._changed.notify_all()
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def find_line(self, part):
        """None when no such line has come before the pipe's end or in time."""
        with self._changed:
            self._changed.wait_for(lambda: self._ended or self._line(part) is not None, PATIENCE)
            return self._line(part)

    def wait_for_line(self, part):
        line = self.find_line(part)
        if line is None:
            raise AssertionError(f"no line with {part!r} has come, only {self.bytes!r}")
        return line

    def _line(self, part):
        lines = self.bytes.decode("latin-1").replace("\r", "").split("\n")[:-1]
        return next((line for line in lines if part in line), None)


class Client:
    """One run of a program with its streams going to pipes."""

    def __init__(self, *arguments, program="wpk_send"):
        self._command = program_command(program, arguments)
        self._process = None

    def run(self, message=b""):
        """Returns exit status, standard output, standard error."""
        result = self._run_once(message)
        if result.returncode == KILLED:
            say_that_it_was_killed(self._command)
            result = self._run_once(message)
        return result.returncode, result.stdout, result.stderr

    def _run_once(self, message):
        return subprocess.run(self._command, input=message, capture_output=True, timeout=PATIENCE)

    def start(self):
        self._process = subprocess.Popen(self._command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                         stderr=subprocess.PIPE)
        self._output = LineReader(self._process.stdout)
        self._errors = LineReader(self._process.stderr)
        return self

    def wait_for_line(self, part):
        return self._output.wait_for_line(part)

    def wait_for_error_line(self, part):
        return self._errors.wait_for_line(part)

    def interrupt(self):
        # Wine turns this signal into the Ctrl-C of the program's own system.
        self._process.send_signal(signal.SIGINT)

    def finish(self):
        try:
            status = self._process.wait(PATIENCE)
        finally:
            self._process.kill()
        self._output.join()
        self._errors.join()
        return status, self._output.bytes, self._errors.bytes


class Listener:
    """A running program that says on which port it listens."""

    def __init__(self, program, arguments):
        self._command = program_command(program, arguments)

    def __enter__(self):
        line = self._start()
        if line is None and self._exit_status() == KILLED:
            say_that_it_was_killed(self._command)
            line = self._start()
        if line is None:
            status = self._exit_status()
            self._errors.join()
            raise AssertionError(f"{self._command[1]} does not listen: status {status}, {self._errors.bytes!r}")
        self.port = int(re.fullmatch(r"listening on [\d.]+:(\d+)(, passing on to 127\.0\.0\.1:\d+)?", line)[1])
        return self

    def _start(self):
        """Returns the line that says where it listens; None when it does not."""
        self._process = subprocess.Popen(self._command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                         stderr=subprocess.PIPE)
        self._output = LineReader(self._process.stdout)
        self._errors = LineReader(self._process.stderr)
        return self._output.find_line("listening on")

    def _exit_status(self):
        try:
            return self._process.wait(PATIENCE)
        finally:
            self._process.kill()

    def wait_for_line(self, part):
        return self._output.wait_for_line(part)

    def wait_for_error_line(self, part):
        return self._errors.wait_for_line(part)

    def is_running(self):
        return self._process.poll() is None

    def __exit__(self, *_):
        lived = self.is_running()
        self._process.kill()
        self._process.wait()
        if not lived:
            raise AssertionError(f"{self._command[1]} has ended by itself")


class Server(Listener):
    """A running message_server on a port of the system's choice."""

    def __init__(self, *arguments):
        super().__init__("message_server", ("--port", 0) + arguments)


class TerminalClient:
    """A run of the client on a terminal of its own."""

    def __init__(self, *arguments, raw=False):
        """raw: no key means anything to the terminal itself, as on a console of Windows; Wine arranges for the same, but
        a moment after the program has begun to read."""
        command = program_command("wpk_send", arguments)
        self._bytes = b""
        self._seen = 0
        self._pid, self._terminal = pty.fork()
        if self._pid == 0:
            os.environ["TERM"] = "xterm"
            if raw:
                tty.setraw(0)
            os.execv(command[0], command)

    def screen(self):
        """What has been written, without the sequences that move the cursor and hide it."""
        text = self._bytes.decode("latin-1")
        text = re.sub(r"\x1b\[K\x1b\[(\d+)C", lambda move: " " * int(move[1]), text)
        text = re.sub(r"\x1b\[(\d+)C", lambda move: " " * int(move[1]), text)
        return re.sub(r"\x1b\[[?0-9;]*[A-Za-z]|\x1b\][^\x07]*\x07", "", text)

    def answer(self, question, keys):
        """Waits until the question, or any text, has come after the last one, then presses the keys."""
        deadline = time.monotonic() + PATIENCE
        while (place := self.screen().find(question, self._seen)) < 0:
            if not self._read(deadline):
                self._give_up(f"{question!r} has not come")
        self._seen = place + len(question)
        os.write(self._terminal, keys.encode())

    def finish(self):
        """Returns the exit status."""
        deadline = time.monotonic() + PATIENCE
        while self._read(deadline):
            pass
        if time.monotonic() >= deadline:
            self._give_up("the client does not end")
        os.close(self._terminal)
        return os.waitstatus_to_exitcode(os.waitpid(self._pid, 0)[1])

    def _give_up(self, reason):
        os.kill(self._pid, signal.SIGKILL)
        os.waitpid(self._pid, 0)
        raise AssertionError(f"{reason}; the screen: {self.screen()!r}")

    def _read(self, deadline):
        """False at the end of the client, or when the time is up."""
        if not select.select([self._terminal], [], [], max(0, deadline - time.monotonic()))[0]:
            return False
        try:
            piece = os.read(self._terminal, 65536)
        except OSError:  # This is how a terminal tells that nobody has it open any more.
            return False
        self._bytes += piece
        return piece != b""


def _entry(key, value):
    return struct.pack("<I", len(key)) + key + struct.pack("<I", len(value)) + value


def tagged_body(service, data):
    return (_entry(b"WPK_IsBehindProxy", b"NO") + _entry(b"WPK_ServiceName", service.encode()) +
            _entry(b"WPK_ServiceData", data))


def whole_request(service, data):
    body = tagged_body(service, data)
    return (b"POST http://127.0.0.1:80/ HTTP/1.0\r\nUser-Agent: WPK/1.00\r\nContent-Type: application/tagged-data\r\n"
            b"Content-Length: %d\r\n\r\n" % len(body)) + body


def exchange(port, *pieces, end=False, host="127.0.0.1"):
    """Sends the pieces, each by itself, and returns everything that comes back."""
    with socket.create_connection((host, port), PATIENCE) as connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for piece in pieces:
            connection.sendall(piece)
        if end:
            connection.shutdown(socket.SHUT_WR)
        reply = b""
        while piece := connection.recv(65536):
            reply += piece
        return reply
