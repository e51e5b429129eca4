"""A folder with the program, its settings and some pages, and runs of the program in it."""

from __future__ import annotations

import dataclasses
import os
import pathlib
import pwd
import resource
import shutil
import subprocess
import tempfile
from collections.abc import Callable

LIBRARY = "libzephconfig.so"

# Variables that reach the program beside those of the request, if they are set: the
# sanitizers are told there how to report.
PASSED_VARIABLES = ("ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS")


@dataclasses.dataclass(frozen=True)
class Build:
    """What was built, by its place."""

    folder: pathlib.Path

    @property
    def program(self) -> pathlib.Path:
        return self.folder / "bin" / "zeph"

    @property
    def assembler(self) -> pathlib.Path:
        return self.folder / "bin" / "zephasm"

    @property
    def config_library(self) -> pathlib.Path:
        return self.folder / "lib" / LIBRARY

    def test_library(self, name: str) -> pathlib.Path:
        return self.folder / "tests" / "pages" / "libraries" / f"{name}.so"


def ordinary_user() -> str:
    """Whom the program runs as: nobody if that can be arranged, else the one who tests."""
    return "nobody" if os.geteuid() == 0 else pwd.getpwuid(os.geteuid()).pw_name


@dataclasses.dataclass(frozen=True)
class Layout:
    """Where the parts of a site stand in its folder."""

    program: str = "cgi"
    scripts: str = "scripts"
    files: str = "data"


class PageSite:
    """The folder with the program, scripts and data. Removed by `close`."""

    def __init__(
        self, build: Build, user: str | None = None, layout: Layout = Layout()
    ) -> None:
        self.build = build
        self.layout = layout
        self.user = user or ordinary_user()
        self.root = pathlib.Path(os.path.realpath(tempfile.mkdtemp(prefix="zeph-site-")))
        self.root.chmod(0o755)
        self.settings: dict[str, str] = {
            "dir_zeph": f"{self.root}/{layout.scripts}",
            "dir_data": f"{self.root}/{layout.files}",
            "cookies": "0",
        }
        self.more_settings: list[str] = []
        for name in (layout.program, layout.scripts, layout.files):
            (self.root / name).mkdir(parents=True)
        self._place(build.program, self.program)
        self._place(build.config_library, self.program.parent / LIBRARY)

    def __enter__(self) -> PageSite:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        for folder, names, _ in os.walk(self.root):
            for path in (os.path.join(folder, name) for name in names):
                if not os.path.islink(path):
                    os.chmod(path, 0o700)
        shutil.rmtree(self.root)

    @property
    def program(self) -> pathlib.Path:
        return self.root / self.layout.program / "zeph"

    def _place(self, source: pathlib.Path, target: pathlib.Path) -> None:
        target.parent.mkdir(parents=True, exist_ok=True)
        target.unlink(missing_ok=True)
        shutil.copy(source, target)
        target.chmod(0o755)

    def place_library(self, name: str, target: str) -> None:
        """Puts a test library into the site."""
        self._place(self.build.test_library(name), self.root / target)

    def write(self, name: str, content: bytes) -> pathlib.Path:
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def assemble(self, name: str, text: str) -> None:
        """Makes a page from assembly text."""
        source = self.write("page.zasm", text.encode("latin-1"))
        target = self.root / self.layout.scripts / name
        target.parent.mkdir(parents=True, exist_ok=True)
        command = [str(self.build.assembler), "-o", str(target), str(source)]
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"the page {name} cannot be assembled:\n{done.stderr}")
        source.unlink()

    def write_settings(self) -> None:
        lines = [f"{name} = {value}" for name, value in self.settings.items()]
        text = "\n".join(lines + self.more_settings) + "\n"
        self.write(f"{self.layout.program}/zeph.conf", text.encode("latin-1"))

    def give_to(self, user: str) -> None:
        """Makes the user the owner of all; only root gives files away."""
        if os.geteuid() != 0:
            return
        entry = pwd.getpwnam(user)
        os.chown(self.root, entry.pw_uid, entry.pw_gid)
        for path in self.root.rglob("*"):
            os.chown(path, entry.pw_uid, entry.pw_gid, follow_symlinks=False)

    def set_owner(self, name: str, user: str) -> None:
        entry = pwd.getpwnam(user)
        os.chown(self.root / name, entry.pw_uid, entry.pw_gid, follow_symlinks=False)

    def start(
        self, request: Request, output: int = subprocess.PIPE
    ) -> subprocess.Popen[bytes]:
        """Starts the program with exactly the environment of the request."""
        passed = {name: os.environ[name] for name in PASSED_VARIABLES if name in os.environ}
        return subprocess.Popen(
            [str(self.program), *request.arguments],
            cwd=self.program.parent,
            env={**passed, **request.environment},
            stdin=subprocess.PIPE,
            stdout=output,
            stderr=subprocess.PIPE,
            preexec_fn=request.preparation(),
            **user_arguments(self.user),
        )


def user_arguments(user: str) -> dict[str, object]:
    """What makes a new process another user's."""
    entry = pwd.getpwnam(user)
    if entry.pw_uid == os.geteuid():
        return {}
    return {"user": entry.pw_uid, "group": entry.pw_gid, "extra_groups": []}


@dataclasses.dataclass
class Request:
    """What the program is given."""

    environment: dict[str, str] = dataclasses.field(default_factory=dict)
    arguments: list[str] = dataclasses.field(default_factory=list)
    body: bytes = b""
    limits: list[tuple[str, int]] = dataclasses.field(default_factory=list)
    steps: list[Callable[[], None]] = dataclasses.field(default_factory=list)

    def preparation(self) -> Callable[[], None]:
        """What the new process does before it becomes the program."""
        limits = [(getattr(resource, f"RLIMIT_{name}"), value) for name, value in self.limits]
        # A trap that is meant to happen shall leave no file behind.
        limits.append((resource.RLIMIT_CORE, 0))

        def prepare() -> None:
            os.umask(0o022)
            for kind, value in limits:
                resource.setrlimit(kind, (value, value))
            for step in self.steps:
                step()

        return prepare
