#!/usr/bin/env python3
# wpk_trace as a user meets it: between a client and its server or proxy, under Wine, over real sockets.
# SPDX-License-Identifier: MIT
"""Usage: trace.py FOLDER_OF_THE_PROGRAMS [NAME_OF_A_TEST...]

Prints as GoogleTest does, so that its results are counted with the others.
"""
import os
import pathlib
import socket
import struct
import sys
import threading

sys.path.insert(0, str(pathlib.Path(__file__).parent))
from programs import PATIENCE, Client, Listener, Server, exchange, find_programs, whole_request
from scripted_proxy import ScriptedProxy
from test_run import check, check_equal, end_in_order, run_tests, wanted_tests

server = None


class Trace(Listener):
    """A running wpk_trace on a port of the system's choice."""

    def __init__(self, port, *arguments):
        super().__init__("wpk_trace", ("--listen", 0, "--to", f"127.0.0.1:{port}") + arguments)

    def lines(self):
        return self._output.bytes.decode("ascii").replace("\r", "").split("\n")


class Peer:
    """Takes one connection and does with it what the function says."""

    def __init__(self, serve):
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self._serve = serve

    def __enter__(self):
        self._thread = threading.Thread(target=self._run)
        self._thread.start()
        return self

    def _run(self):
        self._listener.settimeout(PATIENCE)
        connection, _ = self._listener.accept()
        with connection:
            connection.settimeout(PATIENCE)
            self._serve(connection)

    def __exit__(self, *_):
        self._thread.join()
        self._listener.close()


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def test_trace_shows_a_request_and_its_reply_in_words():
    with Trace(server.port) as trace:
        check_equal(Client("--port", trace.port, "Echo", "hello").run(), (0, b"hello", b""))
        trace.wait_for_line("#1 over")
        lines = [line for line in trace.lines() if line.startswith(("#1 >", "#1 <"))]
        check_equal(lines, [
            f"#1 > POST http://127.0.0.1:{trace.port}/ HTTP/1.0",
            "#1 > User-Agent: WPK/1.00",
            "#1 > Content-Type: application/tagged-data",
            "#1 > Content-Length: 82",
            "#1 >",
            "#1 > tagged data:",
            "#1 >   WPK_IsBehindProxy, 2 bytes: NO",
            "#1 >   WPK_ServiceName, 4 bytes: Echo",
            "#1 >   WPK_ServiceData, 5 bytes: hello",
            "#1 < HTTP/1.0 200 OK",
            "#1 < Server: WPK/1.00",
            "#1 < Content-Length: 5",
            "#1 <",
            "#1 < 5 bytes: hello",
        ])


def test_trace_passes_large_messages_on_unchanged():
    message = os.urandom(3000000)
    with Trace(server.port) as trace:
        check_equal(Client("--port", trace.port, "Echo").run(message), (0, message, b""))


def test_trace_passes_a_refusal_on_while_the_message_is_still_being_sent():
    with Trace(server.port) as trace:
        head = whole_request("Echo", b"").replace(b"Content-Length: ", b"Content-Length: 9999999")
        reply = exchange(trace.port, head, b"x" * 4000000, end=True)
        check(reply.startswith(b"HTTP/1.0 413 Request_Too_Large"), reply)
        trace.wait_for_line("#1 < HTTP/1.0 413 Request_Too_Large")


def test_trace_shows_many_connections_at_once_each_by_its_number():
    with Trace(server.port) as trace:
        replies = []
        threads = [threading.Thread(target=lambda: replies.append(exchange(trace.port, whole_request("Echo", b"hello"))))
                   for _ in range(20)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        check_equal(len([reply for reply in replies if reply.endswith(b"\r\n\r\nhello")]), 20)
        for number in range(1, 21):
            trace.wait_for_line(f"#{number} < 5 bytes: hello")


def test_trace_hides_credentials_unless_told_to_show_them():
    for arguments, shown in (((), b"(hidden"), (("--show-credentials",), b"Basic YW5uYTpzZWNyZXQ=")):
        with ScriptedProxy(server.port, {("anna", "secret")}) as proxy, Trace(proxy.port, *arguments) as trace:
            result = Client("--proxy", f"127.0.0.1:{trace.port}", "--proxy-user", "anna", "--proxy-password", "secret",
                            "--port", server.port, "Echo", "hello").run()
            check_equal(result, (0, b"hello", b""))
            line = trace.wait_for_line("Proxy-Authorization")
            check(shown.decode() in line, line)
            check(arguments or "YW5uYTpzZWNyZXQ" not in "\n".join(trace.lines()), trace.lines())


def test_trace_says_that_the_server_cannot_be_reached():
    with socket.socket() as unheard:  # Bound, so that nobody else listens on its port meanwhile.
        unheard.bind(("127.0.0.1", 0))
        with Trace(unheard.getsockname()[1]) as trace:
            status, _, _ = Client("--port", trace.port, "Echo", "hello").run()
            check_equal(status, 17)
            trace.wait_for_line("could not be reached")


def test_trace_says_that_the_server_has_gone_and_lets_the_client_know():
    # A reset that comes while nothing is sent is an end like any other for Wine; so the client goes on sending.
    with Peer(lambda connection: (connection.recv(10), reset(connection))) as peer, Trace(peer.port) as trace:
        with socket.create_connection(("127.0.0.1", trace.port), PATIENCE) as client:
            try:
                while True:
                    client.sendall(b"x" * 10000)
            except ConnectionError:
                pass
        trace.wait_for_line("the connection was reset")  # Whichever way sees it first.
        trace.wait_for_line("#1 over")


def test_trace_says_that_a_reply_is_cut_off():
    def answer(connection):
        connection.recv(1000)
        connection.sendall(b"HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: 10\r\n\r\nhello")

    with Peer(answer) as peer, Trace(peer.port) as trace:
        check_equal(Client("--port", trace.port, "Echo", "x").run()[0], 17)
        trace.wait_for_line("cut off: 10 bytes were announced, 5 came")


def test_trace_lets_the_server_know_that_the_client_has_gone():
    ended = threading.Event()

    def wait_for_the_end(connection):
        while connection.recv(1000):
            pass
        ended.set()

    with Peer(wait_for_the_end) as peer, Trace(peer.port) as trace:
        with socket.create_connection(("127.0.0.1", trace.port), PATIENCE) as client:
            client.sendall(b"POST")
        check(ended.wait(PATIENCE), "the server has not been told")
        trace.wait_for_line("cut off in the head, after 4 bytes")


def test_trace_lives_through_hostile_bytes_and_shows_none_of_them_raw():
    hostile = [b"", b"\x00", b"\r\n" * 1000, b"\x1b[2J" * 1000, b"x" * 1000000, os.urandom(100000),
               whole_request("Echo", b"")[:-10] + b"\xff" * 100, b"\n: \n" * 10000,
               whole_request("Echo", b"hello").replace(b"\x11\x00\x00\x00", b"\xff\xff\xff\xff")]
    with Trace(server.port) as trace:
        for number, piece in enumerate(hostile, 1):
            try:
                exchange(trace.port, piece, end=True)
            except ConnectionError:
                pass  # The server has had enough of it before it was all sent.
            trace.wait_for_line(f"#{number} over")
        check(exchange(trace.port, whole_request("Echo", b"hello")).endswith(b"hello"), "it still relays")
        shown = "\n".join(trace.lines())
        check(all(c == "\n" or " " <= c <= "~" for c in shown), "a raw byte has been shown")


def test_trace_warns_when_others_can_reach_it():
    with Trace(server.port, "--address", "0.0.0.0") as trace:
        trace.wait_for_error_line("other machines can reach 0.0.0.0")


def test_trace_says_that_its_port_is_taken():
    status, _, errors = Client("--listen", server.port, "--to", "127.0.0.1:80", program="wpk_trace").run()
    check_equal(status, 1)
    check(f"port {server.port} of 127.0.0.1 is in use".encode() in errors, errors)


def test_trace_reports_a_wrong_command_line_and_explains_itself():
    check_equal(Client("--listen", "http", program="wpk_trace").run()[0], 2)
    status, output, errors = Client("--help", program="wpk_trace").run()
    check_equal((status, errors), (0, b""))
    check(b"--show-credentials" in output, output)


def main():
    global server
    end_in_order()
    find_programs(sys.argv[1])
    with Server() as server:
        return run_tests("Trace", wanted_tests(globals(), sys.argv[2:]))


if __name__ == "__main__":
    sys.exit(main())
