#!/usr/bin/env python3
# The example programs as a user meets them: server and client run under Wine, over real sockets and a real terminal.
# SPDX-License-Identifier: MIT
"""Usage: end_to_end.py FOLDER_OF_THE_PROGRAMS [NAME_OF_A_TEST...]

Prints as GoogleTest does, so that its results are counted with the others.
"""
import pathlib
import re
import socket
import sys
import tempfile
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from programs import Client, Server, TerminalClient, exchange, find_programs, tagged_body, whole_request
from scripted_proxy import ScriptedProxy
from test_run import check, check_equal, end_in_order, run_tests, wanted_tests

ALPHABET = b"abcdefghijklmnopqrstuvwxyz"
server = None


def alphabet(length):
    return (ALPHABET * (length // 26 + 1))[:length]


# ---- the client, with its streams going to files and pipes ----


def test_client_sends_an_argument_and_writes_the_reply():
    result = Client("--port", server.port, "Echo", "hello there").run()
    check_equal(result, (0, b"hello there", b""))


def test_client_sends_an_empty_message_and_writes_an_empty_reply():
    check_equal(Client("--port", server.port, "Echo", "").run(), (0, b"", b""))


def test_client_sends_standard_input_byte_for_byte():
    message = bytes(range(256)) * 20 + b"\r\n\n\x1a\x00"
    check_equal(Client("--port", server.port, "Reverse").run(message), (0, message[::-1], b""))


def test_client_sends_a_file_and_writes_one():
    with tempfile.TemporaryDirectory() as folder:
        message = bytes(range(256)) * 1000
        source, target = pathlib.Path(folder, "message"), pathlib.Path(folder, "reply")
        source.write_bytes(message)
        target.write_bytes(b"what was there before" * 100000)
        result = Client("--port", server.port, "Echo", "--input", source, "--output", target).run()
        check_equal(result, (0, b"", b""))
        check_equal(target.read_bytes(), message)


def test_client_shows_no_progress_without_a_terminal():
    check_equal(Client("--port", server.port, "Generate", 1000000).run(), (0, alphabet(1000000), b""))


def test_client_writes_progress_lines_when_told_to():
    status, reply, errors = Client("--port", server.port, "--progress", "Generate", 5000000).run()
    check_equal((status, reply), (0, alphabet(5000000)))
    lines = errors.decode().split("\r\n")
    check_equal(lines[-2:], ["100 % (4.8 MiB of 4.8 MiB)", ""])
    # The library asks for at most 4 MiB at a time, so this reply comes in two pieces at least.
    check(len(lines) >= 3, errors)


def test_client_says_that_there_is_no_such_service():
    status, reply, errors = Client("--port", server.port, "Nonsense", "x").run()
    check_equal((status, reply), (16, b""))
    check(b"no service of that name" in errors, errors)


def test_client_says_that_the_server_refused_the_message():
    status, _, errors = Client("--port", server.port, "Generate", "many").run()
    check_equal(status, 17)
    check(b"refused the message" in errors, errors)


def test_client_says_that_there_is_no_network():
    status, _, errors = Client("--port", server.port, "--connection", "never", "Echo", "x").run()
    check_equal(status, 12)
    check(b"no network connection" in errors, errors)


def test_client_says_that_the_server_is_of_another_kind():
    with ScriptedProxy(answer_all=b"HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nhi") as stranger:
        status, _, errors = Client("--port", stranger.port, "Echo", "x").run()
    check_equal(status, 15)
    check(b"another version" in errors, errors)


def test_client_says_that_the_server_cannot_be_reached():
    with socket.socket() as unheard:  # Bound, so that nobody else listens on its port meanwhile.
        unheard.bind(("127.0.0.1", 0))
        status, _, errors = Client("--port", unheard.getsockname()[1], "Echo", "x").run()
    check_equal(status, 13)
    check(b"could not be reached" in errors, errors)


def test_client_says_that_the_request_is_unusable():
    status, _, errors = Client("--server", "", "Echo", "x").run()
    check_equal(status, 11)
    check(b"unusable" in errors, errors)


def test_quiet_client_says_nothing_and_its_status_tells():
    check_equal(Client("--quiet", "--port", server.port, "Nonsense", "x").run(), (16, b"", b""))


def test_client_reports_a_wrong_command_line():
    status, reply, errors = Client("--port", "http", "Echo").run()
    check_equal((status, reply), (2, b""))
    check(b"--port" in errors, errors)


def test_client_reports_a_reply_that_it_cannot_write():
    status, _, errors = Client("--port", server.port, "Echo", "x", "--output", "/no/such/folder/file").run()
    check_equal(status, 1)
    check(b"cannot open /no/such/folder/file: No such file or directory" in errors, errors)


def test_quiet_client_says_nothing_of_a_reply_that_it_cannot_write():
    result = Client("--quiet", "--port", server.port, "Echo", "x", "--output", "/no/such/folder/file").run()
    check_equal(result, (1, b"", b""))


def test_client_help_goes_to_standard_output():
    status, reply, errors = Client("--help").run()
    check_equal((status, errors), (0, b""))
    check(b"Exit status:" in reply, reply)


def test_client_cancels_on_an_interrupt_and_says_so():
    client = Client("--verbose", "--port", server.port, "Sleep", 600000).start()
    client.wait_for_error_line("Sent")
    client.interrupt()
    started = time.monotonic()
    status, reply, errors = client.finish()
    check_equal((status, reply), (14, b""))
    check(b"cancelled" in errors, errors)
    check(time.monotonic() - started < 60, "the request was not cancelled, it ended")


def test_client_cancels_when_its_time_is_over():
    status, _, errors = Client("--timeout", 1, "--port", server.port, "Sleep", 600000).run()
    check_equal((status, errors), (5, b"Timed out after 1 s; request cancelled. Try a longer --timeout.\r\n"))


def test_watching_client_shows_that_there_is_no_network_and_ends_on_an_interrupt():
    client = Client("--watch", "--connection", "never").start()
    line = client.wait_for_line("connected")
    check(line.endswith(" not connected"), line)
    client.interrupt()
    check_equal(client.finish()[0], 0)


def test_client_says_what_it_knows_when_verbose():
    status, reply, errors = Client("--verbose", "--port", server.port, "Reverse", "hello").run()
    check_equal((status, reply), (0, b"olleh"))
    lines = errors.decode().split("\r\n")
    for number, pattern in enumerate([
            r"Library: .*\\wpk\.dll\.",
            rf"Sending 5 bytes to the service Reverse of 127\.0\.0\.1, port {server.port}\.",
            r"(Sent; waiting for the reply\. The handle is \d+|A reply of 5 bytes begins after \d+ ms)\."]):
        check(re.fullmatch(pattern, lines[number]), f"{lines[number]!r} is not {pattern}")
    check(any(re.fullmatch(r"The reply of 5 bytes is there after \d+ ms\.", line) for line in lines), lines)


def test_client_says_how_it_failed_when_verbose():
    status, _, errors = Client("--verbose", "--port", server.port, "Nonsense", "x").run()
    check_equal(status, 16)
    check(re.search(rb"The request ends with WPK_ERROR -6 after \d+ ms\.", errors), errors)


def test_client_sends_the_reader_of_a_broken_exchange_to_the_server_s_log():
    status, _, errors = Client("--port", server.port, "Generate", "many").run()
    check_equal(status, 17)
    check(b"log says why, and wpk_trace shows" in errors and b"disk" not in errors, errors)


def test_client_writes_a_field_of_an_xml_reply():
    request = "<request><name>iron</name></request>"
    check_equal(Client("--port", server.port, "--field", "symbol", "Lookup", request).run(), (0, b"Fe\n", b""))


def test_client_says_that_a_reply_lacks_the_field_or_is_no_xml():
    status, reply, errors = Client("--port", server.port, "--field", "colour", "Echo", "<a>b</a>").run()
    check_equal((status, reply), (6, b""))
    check(b"no field 'colour'" in errors, errors)
    status, reply, errors = Client("--port", server.port, "--field", "colour", "Echo", "plain text").run()
    check_equal((status, reply), (6, b""))
    check(b"no XML" in errors, errors)


# ---- the client behind a proxy ----


def test_client_sends_given_credentials_through_the_proxy():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        result = Client("--proxy", f"127.0.0.1:{proxy.port}", "--proxy-user", "anna", "--proxy-password", "secret",
                        "--port", server.port, "Echo", "hello").run()
        check_equal(result, (0, b"hello", b""))
        check_equal(proxy.seen, [("anna", "secret")])


def test_client_without_a_terminal_declines_to_give_credentials():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        status, _, errors = Client("--proxy", f"127.0.0.1:{proxy.port}", "--port", server.port, "Echo", "hello").run()
        check_equal((status, proxy.seen), (18, [None]))
        check(b"--proxy-user" in errors, errors)


def test_client_says_that_the_proxy_refuses_the_given_credentials():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        status, _, errors = Client("--proxy", f"127.0.0.1:{proxy.port}", "--proxy-user", "anna", "--proxy-password",
                                   "wrong", "--port", server.port, "Echo", "hello").run()
        check_equal((status, proxy.seen), (18, [("anna", "wrong")]))
        check(b"got none that it accepts" in errors, errors)


# ---- the client on a terminal ----


def test_terminal_shows_a_progress_bar_of_a_large_reply():
    with tempfile.TemporaryDirectory() as folder:
        target = pathlib.Path(folder, "reply")
        client = TerminalClient("--port", server.port, "--output", target, "Generate", 8000000)
        check_equal(client.finish(), 0)
        check_equal(target.read_bytes(), alphabet(8000000))
        check("[########################################] 100 % (7.6 MiB of 7.6 MiB)" in client.screen(), client.screen())


def test_terminal_shows_no_progress_bar_when_quiet():
    with tempfile.TemporaryDirectory() as folder:
        client = TerminalClient("--quiet", "--port", server.port, "--output", pathlib.Path(folder, "reply"), "Generate",
                                8000000)
        check_equal(client.finish(), 0)
        check_equal(client.screen().strip(), "")


def test_terminal_is_asked_for_credentials_and_the_password_is_not_shown():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        client = TerminalClient("--proxy", f"127.0.0.1:{proxy.port}", "--port", server.port, "Echo", "hello")
        client.answer("User name: ", "anns\x7fa\r")
        client.answer("Password: ", "secret\r")
        check_equal(client.finish(), 0)
        check_equal(proxy.seen, [None, ("anna", "secret")])
    check("hello" in client.screen(), client.screen())
    check("ann" in client.screen(), "the user name is shown: " + client.screen())
    check("secret" not in client.screen(), "the password is not: " + client.screen())


def test_terminal_is_asked_again_when_the_proxy_refuses_the_credentials():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        client = TerminalClient("--proxy", f"127.0.0.1:{proxy.port}", "--port", server.port, "Echo", "hello")
        client.answer("User name: ", "anna\r")
        client.answer("Password: ", "wrong\r")
        client.answer("refuses user anna", "")
        client.answer("User name: ", "anna\r")
        client.answer("Password: ", "secret\r")
        check_equal(client.finish(), 0)
        check_equal(proxy.seen, [None, ("anna", "wrong"), ("anna", "secret")])


def test_terminal_gives_up_when_no_user_name_is_entered():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        client = TerminalClient("--proxy", f"127.0.0.1:{proxy.port}", "--port", server.port, "Echo", "hello")
        client.answer("User name: ", "\r")
        check_equal(client.finish(), 18)
        check_equal(proxy.seen, [None])


def test_terminal_interrupt_key_ends_a_question_and_cancels():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        client = TerminalClient("--proxy", f"127.0.0.1:{proxy.port}", "--port", server.port, "Echo", "hello")
        client.answer("User name: ", "anna\r")
        client.answer("Password: ", "sec\x03")
        check_equal(client.finish(), 14)
        check_equal(proxy.seen, [None])
    check("cancelled" in client.screen(), client.screen())


def test_terminal_time_out_ends_a_question_that_nobody_answers():
    with ScriptedProxy(server.port, {("anna", "secret")}) as proxy:
        # Beside other programs, Wine has been seen to take ten seconds for the first key press on a console.
        client = TerminalClient("--timeout", 30, "--proxy", f"127.0.0.1:{proxy.port}", "--port", server.port, "Echo",
                                "hello")
        client.answer("User name: ", "anna\r")
        client.answer("Password: ", "sec")
        check_equal(client.finish(), 5)
        check_equal(proxy.seen, [None])
    check("Timed out after 30 s; request cancelled." in client.screen(), client.screen())


def test_terminal_is_told_that_a_message_is_waited_for_and_how_to_end_it():
    client = TerminalClient("--port", server.port, "Reverse", raw=True)
    client.answer("Type the message; Ctrl-Z at the beginning of a line ends it.", "helo\x7flo\r")
    client.answer("lo", "\x1a")
    check_equal(client.finish(), 0)
    check("\nolleh" in client.screen().replace("\r", ""), client.screen())


def test_terminal_interrupt_key_ends_the_typing_of_a_message():
    client = TerminalClient("--port", server.port, "Reverse")
    client.answer("Type the message", "hel\x03")
    check_equal(client.finish(), 14)


def test_terminal_shows_the_first_lines_of_a_watch_whole_and_in_order():
    client = TerminalClient("--watch", "--connection", "never")
    client.answer("Watching the network; Ctrl-C ends it.", "")
    client.answer(" not connected", "\x03")
    check_equal(client.finish(), 0)


def test_terminal_interrupt_key_cancels_a_running_request():
    client = TerminalClient("--verbose", "--port", server.port, "Sleep", 600000)
    client.answer("Sent; waiting", "\x03")
    check_equal(client.finish(), 14)
    check("The request was cancelled." in client.screen(), client.screen())


# ---- the server, by its bytes ----


def test_server_answers_with_its_version_and_the_length():
    reply = exchange(server.port, whole_request("Echo", b"hello"))
    check_equal(reply, b"HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 5\r\n\r\nhello")


def test_server_takes_a_request_byte_by_byte():
    pieces = [bytes([byte]) for byte in whole_request("Reverse", b"hello")]
    check(exchange(server.port, *pieces).endswith(b"\r\n\r\nolleh"), "the reply differs")


def test_server_refuses_malformed_requests_and_lives_on():
    good = whole_request("Echo", b"hello")
    head, body = good.split(b"\r\n\r\n", 1)
    refusals = {
        b"\r\n\r\n": b"400 Bad_Request_Line",
        b"hello\r\n\r\n": b"400 Bad_Request_Line",
        b"\x00\xff\x00\xff\r\n\r\n": b"400 Bad_Request_Line",
        b"GET / HTTP/1.0\r\n\r\n": b"405 Method_Not_Allowed",
        good.replace(b"HTTP/1.0", b"HTTP/3.0"): b"505 HTTP_Version_Not_Supported",
        good.replace(b"User-Agent: ", b"User-Agent "): b"400 Bad_Header",
        good.replace(b"WPK/1.00", b"WPK/2.00"): b"500 Bad_Version",
        good.replace(b"Content-Length: ", b"Content-Length: x"): b"400 Bad_Content_Length",
        good.replace(b"Content-Length: ", b"Content-Length: 9999999"): b"413 Request_Too_Large",
        good.replace(b"Content-Length: ", b"Some-Length: "): b"411 Length_Required",
        good.replace(b"tagged-data", b"other-data"): b"415 Unsupported_Media_Type",
        good.replace(b"WPK_ServiceName", b"WPK_ServiceNome"): b"400 Bad_Tagged_Data",
        good.replace(b"\x11\x00\x00\x00", b"\x11\x00\x00\xff"): b"400 Bad_Tagged_Data",
        good[:-1]: b"400 Request_Cut_Off",
        head: b"400 Request_Cut_Off",
        b"": b"400 Request_Cut_Off",
        b"POST / HTTP/1.0\r\n" + b"X: y\r\n" * 5000 + b"\r\n": b"431 Head_Too_Large",
        b"x" * 100000: b"431 Head_Too_Large",
        whole_request("Generate", b"-1"): b"400 Bad_Message",
        whole_request("NoSuch", b""): b"500 Bad_Plugin_Name",
    }
    for request, refusal in refusals.items():
        reply = exchange(server.port, request, end=True)
        check(reply.startswith(b"HTTP/1.0 " + refusal + b"\r\nServer: WPK/1.00\r\n"), f"{request[:60]!r}: {reply[:60]!r}")
        reason = refusal.split(b" ", 1)[1]
        check(reply.endswith(b"\r\nContent-Length: %d\r\n\r\n%s" % (len(reason), reason)), reply)
    check(exchange(server.port, good).endswith(b"hello"), "the server still serves")


def test_server_bounds_requests_by_its_option():
    limit = len(tagged_body("Echo", b"x" * 1000))
    with Server("--max-request", limit) as small:
        check(exchange(small.port, whole_request("Echo", b"x" * 1000)).startswith(b"HTTP/1.0 200 OK"), "at the limit")
        reply = exchange(small.port, whole_request("Echo", b"x" * 1001))
        check(reply.startswith(b"HTTP/1.0 413 Request_Too_Large"), reply)


def test_server_does_not_wait_for_slow_clients_for_ever():
    with Server("--timeout", 1) as impatient:
        reply = exchange(impatient.port, b"POST / HT")
        check(reply.startswith(b"HTTP/1.0 408 Request_Timeout"), reply)


def test_server_does_not_keep_a_place_for_a_client_that_takes_its_reply_by_drops():
    # Each step is taken in time; the whole would take twenty times as long as it may.
    length = 64 * 1024 * 1024
    with Server("--timeout", 1, "--slowest", 1024 * 1024) as impatient:
        with socket.create_connection(("127.0.0.1", impatient.port)) as client:
            client.sendall(whole_request("Generate", b"%d" % length))
            taken = 0
            try:
                while piece := client.recv(100000):
                    taken += len(piece)
                    time.sleep(0.03)
            except ConnectionResetError:
                pass
    check(taken < length, "the server has ended the connection")


def test_server_lives_on_when_a_client_goes_away_during_a_large_reply():
    for _ in range(3):
        with socket.create_connection(("127.0.0.1", server.port)) as client:
            client.sendall(whole_request("Generate", b"4294967295"))
            check(client.recv(1000).startswith(b"HTTP/1.0 200 OK"), "the reply begins")
    check(exchange(server.port, whole_request("Echo", b"hello")).endswith(b"hello"), "the server still serves")


def test_server_serves_fifty_connections_at_once():
    # All fifty sleep at the same time before any of them is answered: one after the other would take 100 seconds.
    replies = []

    def ask():
        replies.append(exchange(server.port, whole_request("Sleep", b"2000")))

    threads = [threading.Thread(target=ask) for _ in range(50)]
    started = time.monotonic()
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    check_equal(len([reply for reply in replies if reply.endswith(b"\r\n\r\nSlept for 2000 ms.\n")]), 50)
    check(time.monotonic() - started < 50, "they were served one after the other")


def test_server_makes_clients_above_its_number_wait_and_serves_them_then():
    with Server("--connections", 2) as small:
        replies = []

        def ask():
            replies.append(exchange(small.port, whole_request("Sleep", b"200")))

        threads = [threading.Thread(target=ask) for _ in range(6)]
        started = time.monotonic()
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        check_equal(len([reply for reply in replies if reply.endswith(b"Slept for 200 ms.\n")]), 6)
        check(time.monotonic() - started >= 0.6, "more than two were served at once")


def test_server_gives_the_place_of_a_sleeping_client_back_when_it_goes():
    with Server("--connections", 1) as single:
        with socket.create_connection(("127.0.0.1", single.port)) as client:
            client.sendall(whole_request("Sleep", b"600000"))
        check(exchange(single.port, whole_request("Echo", b"hello")).endswith(b"hello"), "the next one is served")


def test_server_logs_who_asked_for_what_and_why_it_was_refused():
    begin = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d 127\.0\.0\.1:\d+ "
    with Server("--log", "--max-request", 1000) as logging:
        for request, pattern in [
                (whole_request("Echo", b"hello"), r"Echo 200 OK, 5 bytes, \d+ ms"),
                (whole_request("No\nsense", b""), r"No\\nsense 500 Bad_Plugin_Name, 15 bytes, .*: there is no such service"),
                (whole_request("Echo", b"x" * 2000), r"- 413 Request_Too_Large, .*: of 2077 bytes; --max-request is 1000"),
                (b"POST", r"- 400 Request_Cut_Off, 15 bytes, \d+ ms: after 4 bytes")]:
            exchange(logging.port, request, end=True)
            line = logging.wait_for_error_line(pattern.split(" ")[1])
            check(re.fullmatch(begin + pattern, line), f"{line!r} is not {pattern}")


def test_server_logs_that_a_client_has_gone():
    with Server("--log") as logging:
        with socket.create_connection(("127.0.0.1", logging.port)) as client:
            client.sendall(whole_request("Sleep", b"600000"))
        logging.wait_for_error_line(" Sleep no reply, ")


def test_server_listens_where_it_is_told():
    with Server("--listen", "127.0.0.2") as elsewhere:
        check(exchange(elsewhere.port, whole_request("Echo", b"hello"), host="127.0.0.2").endswith(b"hello"), "served")


def test_server_warns_when_others_can_reach_it():
    with Server("--listen", "0.0.0.0") as open_server:
        open_server.wait_for_error_line("warning: other machines can reach 0.0.0.0")


def test_server_bounds_heads_by_its_option():
    with Server("--max-head", 100) as small:
        reply = exchange(small.port, b"POST / HTTP/1.0\r\nX: " + b"y" * 100)
        check(reply.startswith(b"HTTP/1.0 431 Head_Too_Large"), reply)


def test_server_says_that_its_port_is_taken():
    status, _, errors = Client("--port", server.port, program="message_server").run()
    check_equal(status, 1)
    check(f"port {server.port} of 127.0.0.1 is in use".encode() in errors, errors)


def test_server_reports_a_wrong_command_line():
    status, _, errors = Client("--port", "http", program="message_server").run()
    check_equal(status, 2)
    check(b"message_server: --port: 'http' is no number from 0 to 65535" in errors, errors)


def test_server_has_lived_through_all_of_this():
    check(server.is_running(), "the server has ended by itself")


def main():
    global server
    end_in_order()
    find_programs(sys.argv[1])
    with Server() as server:
        return run_tests("EndToEnd", wanted_tests(globals(), sys.argv[2:]))


if __name__ == "__main__":
    sys.exit(main())
