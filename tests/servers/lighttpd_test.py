#!/usr/bin/env python3
"""Pages through lighttpd, with the recipe and the settings of the example site.

Exit status: 0 passed, 1 failed, 77 not possible here (no lighttpd).
"""

from __future__ import annotations

import argparse
import http.client
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TESTS / "pages"))

from page_site import Build, Layout, PageSite, user_arguments  # noqa: E402

SKIPPED = 77
SECONDS = 30  # for one answer
LONGEST_RUN = 300  # seconds after which the server ends by itself
CLIENTS = 8
REQUESTS_OF_CLIENT = 25

EXAMPLES = TESTS.parent / "examples"
LAYOUT = Layout("lib/cgi-bin", "share/zeph/site", "var/data")
LISTENING = 3  # the descriptor on which a server is handed its socket

BUILD: Build
SERVER: str


def page(text: str) -> str:
    return f'.segment\n    pushc "{text}"\n    out\n'


class Server:
    """lighttpd in a process of its own, on a socket that is made here.

    The socket listens before the server starts, so that nobody waits for it.
    """

    def __init__(self, site: PageSite) -> None:
        self.log = tempfile.TemporaryFile()
        with socket.create_server(("127.0.0.1", 0), backlog=128) as listener:
            self.port: int = listener.getsockname()[1]
            configuration = site.write(
                "lighttpd.conf",
                f'include "{EXAMPLES}/lighttpd.conf"\n'
                'server.systemd-socket-activation = "enable"\n'.encode(),
            )
            configuration.chmod(0o644)
            start = 'LISTEN_PID=$$ LISTEN_FDS=1 exec "$0" -D -f "$1"'
            self.process = subprocess.Popen(
                ["timeout", str(LONGEST_RUN), "sh", "-c", start, SERVER, str(configuration)],
                env={
                    **os.environ,
                    "ZEPH_SITE": str(site.root),
                    "ZEPH_PORT": str(self.port),
                },
                stdin=subprocess.DEVNULL,
                stdout=self.log,
                stderr=self.log,
                close_fds=False,
                preexec_fn=lambda: os.dup2(listener.fileno(), LISTENING),
                **user_arguments(site.user),
            )

    def stop(self) -> int:
        """Ends the server, if it still runs; its exit status."""
        self.process.terminate()
        return self.process.wait(SECONDS)

    def messages(self) -> str:
        self.log.seek(0)
        return self.log.read().decode("latin-1")


class LighttpdTest(unittest.TestCase):
    site: PageSite
    server: Server

    @classmethod
    def setUpClass(cls) -> None:
        cls.site = PageSite(BUILD, layout=LAYOUT)
        for name in ("index", "hello", "shop/index", "shop/list"):
            cls.site.assemble(f"{name}.zpc", page(f"page {name}"))
        cls.site.assemble("fails.zpc", ".segment\n    pop\n")
        cls.site.assemble("long.zpc", LONG_PAGE)
        cls.site.write("share/zeph/site/picture.txt", b"a static file")
        cls.site.write("lib/cgi-bin/zeph.conf", (EXAMPLES / "zeph.conf").read_bytes())
        cls.site.give_to(cls.site.user)
        cls.server = Server(cls.site)

    @classmethod
    def tearDownClass(cls) -> None:
        cls.server.stop()
        cls.server.log.close()
        cls.site.close()

    def connect(self) -> http.client.HTTPConnection:
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=SECONDS)
        self.addCleanup(connection.close)
        return connection

    def get(self, path: str, method: str = "GET") -> tuple[http.client.HTTPResponse, bytes]:
        connection = self.connect()
        connection.request(method, path)
        response = connection.getresponse()
        return response, response.read()

    def assert_page(self, path: str, body: str) -> None:
        response, received = self.get(path)
        self.assertEqual(
            (response.status, received, response.getheader("Content-Type")),
            (200, body.encode(), "text/html"),
            path,
        )
        self.assertEqual(response.getheader("Content-Length"), str(len(body)), path)
        self.assertIsNone(response.getheader("Set-Cookie"), path)

    def test_names_of_pages_and_folders(self) -> None:
        rows = [
            ("/", "page index"),
            ("/hello.zpc", "page hello"),
            ("/hello.zpc?a=1&b=2", "page hello"),
            ("/hello.zpc?list.zpc", "page hello"),
            ("/shop/", "page shop/index"),
            ("/shop/?a=1", "page shop/index"),
            ("/shop/list.zpc", "page shop/list"),
            ("/cgi-bin/zeph/", "page index"),
            ("/cgi-bin/zeph/hello.zpc", "page hello"),
            ("/cgi-bin/zeph/shop", "page shop/index"),
            ("/cgi-bin/zeph/shop/", "page shop/index"),
            ("/cgi-bin/zeph/shop/list.zpc?a=1", "page shop/list"),
        ]
        for path, body in rows:
            with self.subTest(path):
                self.assert_page(path, body)

    def test_names_in_the_query_string(self) -> None:
        rows = [
            ("", "page index"),
            ("?hello.zpc", "page hello"),
            ("?shop/list.zpc+a+b=1", "page shop/list"),
            ("?+a=1", "page index"),
        ]
        for query, body in rows:
            with self.subTest(query):
                self.assert_page("/cgi-bin/zeph" + query, body)

    def test_static_files_are_the_servers(self) -> None:
        response, body = self.get("/picture.txt")
        self.assertEqual((response.status, body), (200, b"a static file"))

    def test_compiled_files_are_never_sent(self) -> None:
        paths = [
            "/hello.zpc",
            "/hello%2Ezpc",
            "/hello.zp%63",
            "/%68ello.zpc",
            "/./hello.zpc",
            "/shop/../hello.zpc",
            "//hello.zpc",
            "/hello.zpc/",
            "/hello.zpc/more",
            "/hello.zpc%3f",
            "/hello.zpc%00",
            "/hello.zpc#x",
        ]
        for path in paths:
            with self.subTest(path):
                self.assertNotIn(b"Zeph\x0b\x00\x01\x00", self.get(path)[1])

    def test_error_page(self) -> None:
        response, body = self.get("/missing.zpc")
        self.assertEqual(
            (response.status, body),
            (200, b"Unable to execute 'missing.zpc': No such file or directory"),
        )

    def test_error_in_a_page(self) -> None:
        response, body = self.get("/fails.zpc")
        text = b"Fatal error in fails.zpc @ [00000000:00000000]: Stack underflow\n"
        self.assertEqual((response.status, body), (200, text))

    def test_page_of_several_flushes(self) -> None:
        response, body = self.get("/long.zpc")
        self.assertEqual(response.status, 200)
        self.assertEqual(len(body), LONG_PAGE_SIZE)
        self.assertEqual(body, b"0123456789" * (LONG_PAGE_SIZE // 10))

    def test_head_has_no_body(self) -> None:
        response, body = self.get("/hello.zpc", "HEAD")
        self.assertEqual((response.status, body), (200, b""))
        self.assertEqual(response.getheader("Content-Length"), str(len("page hello")))

    def test_connection_is_kept(self) -> None:
        connection = self.connect()
        connection.connect()
        first_socket = connection.sock
        for name in ("hello", "shop/list", "index"):
            connection.request("GET", f"/{name}.zpc")
            self.assertEqual(connection.getresponse().read(), f"page {name}".encode())
        self.assertIs(connection.sock, first_socket)

    def test_many_clients(self) -> None:
        faults: list[object] = []

        def ask(client: int) -> None:
            name = ("hello", "index", "shop/list", "shop/index")[client % 4]
            try:
                for _ in range(REQUESTS_OF_CLIENT):
                    response, body = self.get(f"/{name}.zpc")
                    if (response.status, body) != (200, f"page {name}".encode()):
                        faults.append((client, response.status, body))
            except (OSError, http.client.HTTPException) as error:
                faults.append((client, error))

        clients = [threading.Thread(target=ask, args=(number,)) for number in range(CLIENTS)]
        for client in clients:
            client.start()
        for client in clients:
            client.join()
        self.assertEqual(faults, [])

    def test_server_stops_cleanly(self) -> None:
        server = Server(self.site)
        self.addCleanup(server.stop)
        connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=SECONDS)
        connection.request("GET", "/hello.zpc")
        self.assertEqual(connection.getresponse().read(), b"page hello")
        connection.close()
        # 1 where the process of the last page has sent it, but is not gone yet.
        self.assertIn(server.stop(), (0, 1), server.messages())
        self.assertIn("server stopped by", server.messages())
        server.log.close()


# Three flushes and a rest, at the usual limit of 1 MiB.
LONG_PAGE_SIZE = 3500000
LONG_PAGE = f""".segment
    storegi n, {LONG_PAGE_SIZE // 10}
again:
    pushc "0123456789"
    out
    incg n, -1
    pushg n
    jmp_gt again
"""


def main() -> int:
    global BUILD, SERVER
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the build folder")
    options, rest = parser.parse_known_args()
    BUILD = Build(options.build.resolve())
    found = shutil.which("lighttpd", path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
    if not found:
        print("there is no lighttpd")
        return SKIPPED
    SERVER = found
    result = unittest.main(argv=[sys.argv[0], *rest], exit=False).result
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
