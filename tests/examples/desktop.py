#!/usr/bin/env python3
# The window program as a user meets it: by its keys, its texts and its tree.
# SPDX-License-Identifier: MIT
"""Usage: desktop.py FOLDER_OF_THE_PROGRAMS FILE_FOR_THE_PICTURE [NAME_OF_A_TEST...]"""
import pathlib
import string
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from programs import Server, find_programs, program_path
from scripted_proxy import ScriptedProxy
from test_run import check, check_equal, end_in_order, run_tests, wanted_tests
from window import Display, Driver, Window

# The numbers of the window's and the dialog's controls.
SEND, CANCEL = 1, 2
SERVER, PORT, SERVICE, MESSAGE, PROGRESS, REPLY_TEXT, REPLY_TREE, STATUS = 102, 104, 106, 108, 109, 111, 112, 113
QUESTION, USER, PASSWORD, OK = 201, 202, 203, 1
DIALOG = "#32770"
# What the window promises when it is closed, with room for a machine that is busy with other things.
PROMPTLY = 10

server = None
driver = None
picture = None


class Desktop(Window):
    def __init__(self, *arguments):
        super().__init__(driver, program_path("desktop"), "--port", server.port, *arguments, window_class="WpkDesktop")

    def send(self, service, message):
        self.tell("set-text", SERVICE, service)
        self.tell("set-text", MESSAGE, message)
        self.tell("click", SEND)

    def wait_for_reply(self):
        self.wait_for_text(STATUS, "Reply of")

    def wait_until_running(self):
        self.wait_until(lambda: self.enabled(CANCEL) and not self.enabled(SEND), "a running request")


class ProxyDesktop(Desktop):
    """A window behind a proxy that wants anna's password."""

    def __init__(self, proxy):
        super().__init__("--proxy", f"127.0.0.1:{proxy.port}")

    @staticmethod
    def proxy():
        return ScriptedProxy(server.port, {("anna", "secret")})


# ---- messages and replies ----


def test_window_shows_a_reply_as_text():
    with Desktop() as window:
        window.send("Reverse", "hello")
        window.wait_for_reply()
        check_equal(window.text(REPLY_TEXT), "olleh")
        check(window.text(STATUS).startswith("Reply of 5 bytes after "), window.text(STATUS))
        check(window.visible(REPLY_TEXT) and not window.visible(REPLY_TREE), "the text is seen, the tree is not")


def test_window_shows_an_xml_reply_as_a_tree():
    with Desktop() as window:
        window.press("Enter")
        window.wait_for_reply()
        check_equal(window.tree(REPLY_TREE),
                    ["reply", "  found: yes", "  name: iron", "  symbol: Fe", "  number: 26"])
        check(window.visible(REPLY_TREE) and not window.visible(REPLY_TEXT), "the tree is seen, the text is not")
        window.tell("picture", picture)


def test_window_shows_text_again_after_a_tree():
    with Desktop() as window:
        window.press("Enter")
        window.wait_for_reply()
        window.send("Echo", "plain")
        window.wait_for_text(REPLY_TEXT, "plain")
        check(window.visible(REPLY_TEXT) and not window.visible(REPLY_TREE), "the text is seen, the tree is not")
        check_equal(window.tree(REPLY_TREE), [])


def test_window_sends_what_is_not_in_the_ansi_code_page_as_it_is():
    with Desktop() as window:
        window.send("Echo", "Größe 10 µm, 東京")
        window.wait_for_reply()
        check_equal(window.text(REPLY_TEXT), "Größe 10 µm, 東京")


def test_window_shows_the_progress_and_the_beginning_of_a_large_reply():
    with Desktop() as window:
        window.send("Generate", "200000000")
        window.wait_for_text(STATUS, "Received")
        window.wait_for_reply()
        check(window.text(STATUS).startswith("Reply of 190.7 MiB after"), window.text(STATUS))
        lines = window.text(REPLY_TEXT).split("\n")
        check_equal("".join(lines[:-1]), (string.ascii_lowercase * 2521)[:64 * 1024])
        check_equal(lines[-1], "...")


def test_window_says_that_there_is_no_such_service():
    with Desktop() as window:
        window.send("Nonsense", "x")
        window.wait_for_text(STATUS, "The server has no service of that name.")
        check_equal(window.text(REPLY_TEXT), "The server has no service of that name.\n"
                    "Check the service's name; where it is right, update the server.")
        check(window.enabled(SEND) and not window.enabled(CANCEL), "the next message can be sent")


def test_window_says_that_a_port_is_none_and_leads_there():
    with Desktop() as window:
        for port in ["", "0", "65536"]:
            window.tell("set-text", PORT, port)
            window.send("Echo", "x")
            window.wait_for_text(STATUS, "The port is a number from 1 to 65535.")
            window.wait_for_focus(PORT)
            window.tell("set-text", PORT, server.port)
            window.send("Echo", "x")
            window.wait_for_reply()


def test_window_shows_that_there_is_no_network():
    with Desktop("--connection", "never") as window:
        window.wait_until(lambda: window.status(STATUS, 1) == "Not connected", "the state of the network")
        window.send("Echo", "x")
        window.wait_for_text(REPLY_TEXT, "There is no network connection.")


def test_window_shows_that_there_is_a_network():
    with Desktop() as window:
        check_equal(window.status(STATUS, 1), "Connected")


def test_window_says_that_a_name_cannot_be_sent_and_leads_there():
    with Desktop() as window:
        for control, name in [(SERVER, "the server"), (SERVICE, "the service")]:
            before = window.text(control)
            window.tell("set-text", control, "東京")
            window.tell("click", SEND)
            window.wait_for_text(STATUS, f"The name of {name} holds a character that")
            window.wait_for_focus(control)
            window.tell("set-text", control, before)
        window.tell("click", SEND)
        window.wait_for_reply()


# ---- keys ----


def test_keys_type_a_message_and_send_it():
    with Desktop() as window:
        for mnemonic, control, text in [("Alt+V", SERVICE, "Echo"), ("Alt+M", MESSAGE, "typed"),
                                        ("Alt+R", SERVER, "127.0.0.1")]:
            window.tell("set-text", control, "")
            window.press(mnemonic)
            window.wait_for_focus(control)
            window.type(text)
            window.wait_for_text(control, text)
        window.press("Enter")
        window.wait_for_reply()
        check_equal(window.text(REPLY_TEXT), "typed")


def test_tab_visits_all_fields_in_order_and_comes_round():
    with Desktop() as window:
        window.wait_for_focus(MESSAGE)
        for control in [SEND, REPLY_TEXT, SERVER, PORT, SERVICE, MESSAGE]:
            window.press("Tab")
            window.wait_for_focus(control)
        window.press("Shift+Tab")
        window.wait_for_focus(SERVICE)


def test_control_enter_begins_a_line_and_enter_sends():
    with Desktop() as window:
        window.tell("set-text", SERVICE, "Echo")
        window.tell("set-text", MESSAGE, "")
        window.type("one")
        window.press("Ctrl+Enter")
        window.type("two")
        window.wait_for_text(MESSAGE, "one\ntwo")
        window.press("Enter")
        window.wait_for_reply()
        check_equal(window.text(REPLY_TEXT), "one\ntwo")


def test_mnemonic_of_send_sends():
    with Desktop() as window:
        window.press("Alt+S")
        window.wait_for_reply()


def test_escape_cancels_a_running_request_and_the_next_one_runs():
    with Desktop() as window:
        window.send("Sleep", "600000")
        window.wait_until_running()
        window.press("Esc")
        window.wait_for_text(STATUS, "The request was cancelled.")
        check(window.enabled(SEND) and not window.enabled(CANCEL), "the next message can be sent")
        window.send("Echo", "again")
        window.wait_for_reply()
        check_equal(window.text(REPLY_TEXT), "again")


def test_escape_without_a_request_changes_nothing():
    with Desktop() as window:
        window.press("Esc")
        window.press("Enter")
        window.wait_for_reply()


def test_escape_in_the_reply_changes_nothing_without_a_request():
    with Desktop() as window:
        window.press("Tab")
        window.press("Tab")
        window.wait_for_focus(REPLY_TEXT)
        window.press("Esc")
        window.press("Enter")
        window.wait_for_reply()


def test_escape_in_the_reply_cancels_a_running_request():
    with Desktop() as window:
        window.send("Sleep", "600000")
        window.wait_until_running()
        window.press("Alt+L")
        window.wait_for_focus(REPLY_TEXT)
        window.press("Esc")
        window.wait_for_text(STATUS, "The request was cancelled.")
        window.send("Echo", "again")
        window.wait_for_text(REPLY_TEXT, "again")


def test_cancel_button_cancels():
    with Desktop() as window:
        window.send("Sleep", "600000")
        window.wait_until_running()
        window.tell("click", CANCEL)
        window.wait_for_text(STATUS, "The request was cancelled.")


def test_focus_goes_from_send_to_cancel_and_back():
    with Desktop() as window:
        window.tell("set-text", SERVICE, "Sleep")
        window.tell("set-text", MESSAGE, "600000")
        window.press("Tab")
        window.wait_for_focus(SEND)
        window.press("Space")
        window.wait_for_focus(CANCEL)
        window.press("Space")
        window.wait_for_focus(SEND)
        window.wait_for_text(STATUS, "The request was cancelled.")


# ---- the proxy's question ----


def test_dialog_asks_for_credentials_and_the_answer_is_used():
    with ProxyDesktop.proxy() as proxy, ProxyDesktop(proxy) as window:
        window.send("Echo", "through the proxy")
        window.wait_for_window(DIALOG)
        check_equal(window.text(QUESTION), "The proxy 127.0.0.1 wants a user name and a password.")
        window.wait_for_focus(USER)
        window.type("anna")
        window.press("Alt+P")
        window.wait_for_focus(PASSWORD)
        window.type("secret")
        window.wait_for_text(PASSWORD, "secret")
        check(int(window.tell("style", PASSWORD)) & 0x20, "the password is masked")
        window.tell("picture", picture.replace(".png", "-credentials.png"))
        window.press("Enter")
        window.wait_for_window("WpkDesktop")
        window.wait_for_reply()
        check_equal(window.text(REPLY_TEXT), "through the proxy")
        check_equal(proxy.seen, [None, ("anna", "secret")])


def test_dialog_comes_again_with_the_user_name_when_the_proxy_refuses():
    with ProxyDesktop.proxy() as proxy, ProxyDesktop(proxy) as window:
        window.send("Echo", "x")
        window.wait_for_window(DIALOG)
        window.tell("set-text", USER, "anna")
        window.tell("set-text", PASSWORD, "wrong")
        window.tell("click", OK)
        window.wait_until(lambda: window.tell("turn-to", DIALOG) == "ok" and "refuses" in window.text(QUESTION),
                          "a second question")
        check_equal((window.text(USER), window.text(PASSWORD)), ("anna", ""))
        window.wait_for_focus(PASSWORD)
        window.type("secret")
        window.press("Enter")
        window.wait_for_window("WpkDesktop")
        window.wait_for_reply()
        check_equal(proxy.seen, [None, ("anna", "wrong"), ("anna", "secret")])


def test_dialog_stays_when_the_credentials_cannot_be_sent_and_says_so():
    with ProxyDesktop.proxy() as proxy, ProxyDesktop(proxy) as window:
        window.send("Echo", "x")
        window.wait_for_window(DIALOG)
        window.tell("set-text", USER, "anna")
        window.tell("set-text", PASSWORD, "geheim東京")
        window.tell("click", OK)
        window.wait_for_text(QUESTION, "The password holds a character that")
        window.wait_for_focus(PASSWORD)
        window.tell("set-text", PASSWORD, "secret")
        window.tell("click", OK)
        window.wait_for_window("WpkDesktop")
        window.wait_for_reply()
        check_equal(proxy.seen, [None, ("anna", "secret")])


def test_dialog_that_is_cancelled_ends_the_request():
    with ProxyDesktop.proxy() as proxy, ProxyDesktop(proxy) as window:
        window.send("Echo", "x")
        window.wait_for_window(DIALOG)
        window.wait_for_focus(USER)
        window.press("Esc")
        window.wait_until(lambda: window.tell("turn-to", DIALOG) == "none", "the dialog's end")
        window.wait_for_window("WpkDesktop")
        window.wait_for_text(STATUS, "The proxy wants a user name and a password, and got none")
        check_equal(proxy.seen, [None])


# ---- the end ----


def test_closing_ends_the_program():
    with Desktop() as window:
        window.tell("close")
        check_equal(window.wait_for_end(PROMPTLY), 0)


def test_closing_during_a_request_ends_the_program_promptly():
    with Desktop() as window:
        window.send("Sleep", "600000")
        window.wait_until_running()
        window.tell("close")
        check_equal(window.wait_for_end(PROMPTLY), 0)


def test_closing_during_a_large_reply_ends_the_program_promptly():
    with Desktop() as window:
        window.send("Generate", "4000000000")
        window.wait_for_text(STATUS, "Received")
        window.tell("close")
        check_equal(window.wait_for_end(PROMPTLY), 0)


def test_closing_while_the_dialog_is_open_ends_the_program_promptly():
    with ProxyDesktop.proxy() as proxy, ProxyDesktop(proxy) as window:
        window.send("Echo", "x")
        window.wait_for_window(DIALOG)
        window.wait_for_window("WpkDesktop")
        window.tell("close")
        check_equal(window.wait_for_end(PROMPTLY), 0)
        check_equal(proxy.seen, [None])


def test_wrong_command_line_is_explained_in_a_box():
    window = Window(driver, program_path("desktop"), "--port", "http", window_class=DIALOG)
    with window:
        window.press("Enter")
        check_equal(window.wait_for_end(PROMPTLY), 2)


def test_version_is_told_in_a_box():
    window = Window(driver, program_path("desktop"), "--version", window_class=DIALOG)
    with window:
        window.press("Enter")
        check_equal(window.wait_for_end(PROMPTLY), 0)


# ---- sizes ----


def test_controls_follow_the_size_of_the_window():
    with Desktop() as window:
        message, reply, send = (window.place(control) for control in (MESSAGE, REPLY_TEXT, SEND))
        _, _, width, height = window.place(0)
        window.tell("resize", width + 200, height + 90)
        check_equal(window.place(MESSAGE), [message[0], message[1], message[2] + 200, message[3] + 30])
        check_equal(window.place(REPLY_TEXT), [reply[0], reply[1] + 30, reply[2] + 200, reply[3] + 60])
        check_equal(window.place(SEND), [send[0] + 200, send[1] + 30, send[2], send[3]])


def test_window_on_a_monitor_of_twice_the_resolution_is_twice_as_large():
    with Desktop() as window:
        before = {control: window.place(control) for control in (SERVER, PORT, MESSAGE, SEND, REPLY_TEXT)}
        _, _, width, height = window.place(0)
        window.tell("dpi", 192, 2 * width, 2 * height)
        check_equal(window.place(0)[2:], [2 * width, 2 * height])
        for control, (_, _, _, old_height) in before.items():
            new_height = window.place(control)[3]
            check(1.7 * old_height < new_height < 2.3 * old_height, f"{control}: {old_height} has become {new_height}")
        check_equal(window.place(SEND)[2], 2 * before[SEND][2])


# ---- what is seen ----


def settled_picture(window, name):
    """The bytes of a picture that does not change any more; the cursor must not blink in it."""
    file = pathlib.Path(picture.replace(".png", f"-{name}.png"))
    seen = []

    def look():
        window.tell("picture", file)
        seen.append(file.read_bytes())
        time.sleep(0.2)
        return seen[-3:] == [seen[-1]] * 3

    window.wait_until(look, "a picture that stays as it is")
    return seen[-1]


def check_that_all_is_painted(window, name):
    seen = settled_picture(window, name)
    window.tell("redraw")
    check(settled_picture(window, name + "-redrawn") == seen, f"the window looks as when all of it is painted: {name}")


def test_enlarged_window_is_painted_as_a_whole():
    with Desktop() as window:
        window.press("Tab")  # Send has no cursor that blinks.
        window.wait_for_focus(SEND)
        _, _, width, height = window.place(0)
        for step in range(1, 5):
            window.tell("resize", width + 60 * step, height + 30 * step)
        check_that_all_is_painted(window, "enlarged")
        window.tell("resize", width, height)
        check_that_all_is_painted(window, "made-small-again")


def test_nothing_of_the_moving_bar_stays_after_a_cancel():
    with Desktop() as window:
        window.tell("set-text", SERVICE, "Sleep")
        window.tell("set-text", MESSAGE, "600000")
        window.press("Tab")
        window.wait_for_focus(SEND)
        settled_picture(window, "before-the-bar-moves")
        window.press("Space")
        window.wait_until_running()
        time.sleep(1)  # The bar is on its way.
        window.press("Space")
        window.wait_for_text(STATUS, "The request was cancelled.")
        check_that_all_is_painted(window, "cancelled")


def main():
    global server, driver, picture
    end_in_order()
    find_programs(sys.argv[1])
    picture = sys.argv[2]
    with Server() as server, Display() as display, Driver(display) as driver:
        return run_tests("Desktop", wanted_tests(globals(), sys.argv[3:]))


if __name__ == "__main__":
    sys.exit(main())
