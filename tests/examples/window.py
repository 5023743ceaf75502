# A window program on a display of its own, worked as a user works it.
# SPDX-License-Identifier: MIT
import os
import select
import subprocess
import time

from programs import PATIENCE, program_command

# How often the window is looked at while something is waited for.
GLANCE = 0.02


class Display:
    """An X server that shows its picture to nobody."""

    def __enter__(self):
        reader, writer = os.pipe()
        self._process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x1024x24", "-nolisten", "tcp"], pass_fds=[writer],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writer)
        with open(reader) as number:  # It comes when the server is ready.
            self.name = ":" + number.readline().strip()
        if self.name == ":":
            raise AssertionError("Xvfb has not started; scripts/setup.sh installs it")
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait()


class Driver:
    """The program window_driver: a line to it, a line back."""

    def __init__(self, display):
        self._display = display

    def __enter__(self):
        # What the driver says besides its answers, Wine's own words above all, is of no interest.
        self._process = subprocess.Popen(program_command("window_driver", []), stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                         env=dict(os.environ, DISPLAY=self._display.name))
        self._bytes = b""
        return self

    def __exit__(self, *_):
        self._process.stdin.close()
        try:
            self._process.wait(PATIENCE)
        finally:
            self._process.kill()

    def tell(self, *words):
        self._process.stdin.write((" ".join(str(word) for word in words) + "\n").encode())
        self._process.stdin.flush()
        answer = self._line()
        if answer.startswith("error: "):
            raise AssertionError(f"{words}: {answer}")
        return answer

    def _line(self):
        while b"\n" not in self._bytes:
            if not select.select([self._process.stdout], [], [], PATIENCE)[0]:
                raise AssertionError("window_driver does not answer")
            piece = os.read(self._process.stdout.fileno(), 65536)
            if not piece:
                raise AssertionError("window_driver has ended")
            self._bytes += piece
        line, self._bytes = self._bytes.split(b"\n", 1)
        return line.decode().rstrip("\r")


class Window:
    """A program from its start to its end; all that is said is about its window."""

    def __init__(self, driver, program, *arguments, window_class):
        self.tell = driver.tell
        self._command = [program] + [f'"{argument}"' for argument in arguments]
        self._class = window_class

    def __enter__(self):
        self.tell("start", *self._command)
        self.wait_for_window(self._class)
        # It is visible a moment before it gets keys.
        self.wait_until(lambda: self.focus() != 0, "a focus")
        return self

    def __exit__(self, *_):
        pass  # The driver ends the program before it starts another one.

    def wait_until(self, condition, what):
        """Whatever a window does, it does a moment after it was asked to."""
        deadline = time.monotonic() + PATIENCE
        while not condition():
            if time.monotonic() > deadline:
                raise AssertionError(f"it has not come to this: {what() if callable(what) else what}")
            time.sleep(GLANCE)

    def wait_for_window(self, window_class):
        self.wait_until(lambda: self.tell("turn-to", window_class) == "ok", f"a window {window_class}")

    def text(self, control):
        text = self.tell("text", control)
        return text.replace("\\\\", "\0").replace("\\n", "\n").replace("\0", "\\")

    def wait_for_text(self, control, part):
        self.wait_until(lambda: part in self.text(control),
                        lambda: f"{part!r} in control {control}, which says {self.text(control)!r}")

    def tree(self, control):
        return self.tell("tree", control).split("\\n")[:-1]

    def status(self, control, part):
        return self.tell("status", control, part)

    def wait_for_focus(self, control):
        self.wait_until(lambda: self.focus() == control,
                        lambda: f"the focus in control {control}; it is in {self.focus()}")

    def focus(self):
        return int(self.tell("focus"))

    def press(self, keys):
        self.tell("press", keys)

    def type(self, text):
        self.tell("type", text)

    def enabled(self, control):
        return self.tell("enabled", control) == "yes"

    def visible(self, control):
        return self.tell("visible", control) == "yes"

    def place(self, control):
        return [int(number) for number in self.tell("place", control).split()]

    def wait_for_end(self, seconds):
        """Returns the exit status, and fails when there is none in time."""
        status = int(self.tell("end", int(seconds * 1000)))
        if status < 0:
            raise AssertionError(f"the program has not ended within {seconds} seconds")
        return status
