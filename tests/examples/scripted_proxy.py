# A proxy that asks for credentials, played by the tests.
# SPDX-License-Identifier: MIT
import base64
import re
import socket
import socketserver
import threading

NO_ENTRY = (b"HTTP/1.0 407 Proxy Authentication Required\r\nProxy-Authenticate: Basic realm=\"tests\"\r\n"
            b"Content-Length: 0\r\n\r\n")


class ScriptedProxy:
    """Passes requests on to a port of 127.0.0.1 when they carry one of the accepted credentials; or answers all of them
    with the same bytes. `seen` holds the credentials of each request, None where there were none."""

    def __init__(self, target_port=0, accepted=(), answer_all=None):
        self.seen = []
        proxy = self

        class Handler(socketserver.BaseRequestHandler):
            def handle(self):
                request = proxy._read_request(self.request)
                credentials = proxy._credentials(request)
                proxy.seen.append(credentials)
                if answer_all is not None:
                    self.request.sendall(answer_all)
                elif credentials not in accepted:
                    self.request.sendall(NO_ENTRY)
                else:
                    proxy._pass_on(request, target_port, self.request)

        self._server = socketserver.ThreadingTCPServer(("127.0.0.1", 0), Handler)
        self.port = self._server.server_address[1]

    def __enter__(self):
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self._server.shutdown()
        self._server.server_close()

    @staticmethod
    def _read_request(connection):
        request = b""
        while b"\r\n\r\n" not in request:
            request += connection.recv(65536)
        head = request.split(b"\r\n\r\n", 1)[0]
        length = len(head) + 4 + int(re.search(rb"Content-Length: (\d+)", head)[1])
        while len(request) < length:
            request += connection.recv(65536)
        return request

    @staticmethod
    def _credentials(request):
        header = re.search(rb"\r\nProxy-Authorization: Basic ([^\r]*)\r\n", request)
        return tuple(base64.b64decode(header[1]).decode().split(":", 1)) if header else None

    @staticmethod
    def _pass_on(request, port, client):
        with socket.create_connection(("127.0.0.1", port)) as server:
            server.sendall(request)
            while piece := server.recv(65536):
                client.sendall(piece)
