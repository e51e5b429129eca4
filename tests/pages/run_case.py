#!/usr/bin/env python3
"""Runs one page case against the built program.

Exit status: 0 passed, 1 failed, 77 not possible here (a case that needs root).
"""

from __future__ import annotations

import argparse
import ctypes
import difflib
import os
import pathlib
import pwd
import signal
import subprocess
import sys
import threading

from case_file import CaseError, Expectation, Section, read_case
from page_site import LIBRARY, Build, PageSite, Request

SKIPPED = 77
SECONDS = 60

# From <linux/prctl.h> and <linux/capability.h>.
PR_CAPBSET_DROP = 24
CAPABILITIES = {"SETUID": 7, "CHOWN": 0}

# Marks that only root can arrange.
ROOT_WORDS = ("user", "owner", "drop")


def drop_capability(name: str) -> None:
    """Takes a power of root from this process and what it becomes."""
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.prctl(PR_CAPBSET_DROP, CAPABILITIES[name], 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "a capability cannot be dropped")


class Interruption:
    """Something that happens to the program once it has sent a certain text."""

    def __init__(self, section: Section) -> None:
        self.signal: signal.Signals | None = None
        index = 0
        if section.word == "send":
            self.signal = signal.Signals["SIG" + section.argument(0)]
            index = 1
        if section.argument(index) != "after":
            raise CaseError(f"line {section.line}: expected 'after'")
        self.text = section.rest(index + 1).encode("latin-1")

    def happen(self, process: subprocess.Popen[bytes]) -> bytes:
        """Waits for the text and acts. Returns what was read until then."""
        assert process.stdout
        seen = b""
        while self.text not in seen:
            piece = os.read(process.stdout.fileno(), 65536)
            if not piece:
                return seen
            seen += piece
        if self.signal is None:
            process.stdout.close()
        else:
            process.send_signal(self.signal)
        return seen


class CaseRun:
    """One case in its site."""

    def __init__(self, site: PageSite, sections: list[Section]) -> None:
        self.site = site
        self.request = Request()
        self.interruption: Interruption | None = None
        self.output: str | None = None
        self.owners: list[tuple[str, str]] = []
        for section in sections:
            self.arrange(section)
        site.write_settings()
        site.give_to(site.user)
        for name, user in self.owners:
            site.set_owner(name, user)

    def arrange(self, section: Section) -> None:
        """Does what one mark says."""
        site, request = self.site, self.request
        path = site.root / section.arguments[0] if section.arguments else site.root
        match section.word:
            case "page":
                site.assemble(section.argument(0), section.text)
            case "file":
                site.write(section.argument(0), section.text.encode("latin-1"))
            case "hex":
                site.write(section.argument(0), section.octets())
            case "patch":
                self.patch(path, int(section.argument(1), 0), section.octets())
            case "directory":
                path.mkdir(parents=True, exist_ok=True)
            case "link":
                path.symlink_to(section.argument(1))
            case "mode":
                path.chmod(int(section.argument(1), 8))
            case "remove":
                path.unlink()
            case "library":
                target = section.arguments[1] if len(section.arguments) > 1 else f"cgi/{LIBRARY}"
                site.place_library(section.argument(0), target)
            case "without":
                del site.settings[section.argument(0)]
            case "settings":
                self.set(section.lines())
            case "environment":
                request.environment.update(line.split("=", 1) for line in section.lines())
            case "arguments":
                request.arguments.extend(section.lines())
            case "standard-input":
                request.body = section.text.encode("latin-1")
            case "limit":
                request.limits.append((section.argument(0), int(section.argument(1))))
            case "drop":
                request.steps.append(lambda: drop_capability(section.argument(0)))
            case "owner":
                self.owners.append((section.argument(0), section.argument(1)))
            case "send" | "close":
                self.interruption = Interruption(section)
            case "output":
                self.output = section.argument(0)
            case "user":
                pass  # the site was made for that user
            case _:
                raise CaseError(f"line {section.line}: unknown mark '{section.word}'")

    def set(self, lines: list[str]) -> None:
        """Settings of the case replace those of the site, and may be of any form."""
        for line in lines:
            name, _, value = line.partition(" = ")
            if name in self.site.settings:
                self.site.settings[name] = value
            else:
                self.site.more_settings.append(line)

    @staticmethod
    def patch(path: pathlib.Path, offset: int, octets: bytes) -> None:
        """Puts bytes over those of a file; a negative offset counts from its end."""
        content = bytearray(path.read_bytes())
        start = offset if offset >= 0 else len(content) + offset
        content[start : start + len(octets)] = octets
        path.write_bytes(content)

    def start(self) -> subprocess.Popen[bytes]:
        """Starts the program, with its standard output where the case wants it."""
        if self.output is None:
            return self.site.start(self.request)
        if self.output == "closed-pipe":
            reading, output = os.pipe()
            os.close(reading)
        else:
            output = os.open(self.output, os.O_WRONLY)
        try:
            return self.site.start(self.request, output)
        finally:
            os.close(output)

    def run(self) -> tuple[int, bytes, bytes]:
        """Status, standard output and standard error of the program."""
        process = self.start()
        guard = threading.Timer(SECONDS, process.kill)
        guard.start()
        try:
            seen = self.interruption.happen(process) if self.interruption else b""
            if process.stdout and process.stdout.closed:
                process.stdout = None
            rest, errors = process.communicate(self.request.body)
        finally:
            guard.cancel()
        return process.returncode, seen + (rest or b""), errors


def compare(wanted: Expectation, status: int, output: bytes, errors: bytes) -> list[str]:
    """One text for each way in which the answer is not the wanted one."""
    faults: list[str] = []
    if status != wanted.status:
        faults.append(f"exit status {status}, expected {wanted.status}")
    if errors:
        faults.append("standard error is not empty:\n" + errors.decode("latin-1"))
    if not wanted.pattern().fullmatch(output):
        faults.append(difference(wanted.readable(), output.decode("latin-1")))
    return faults


def difference(wanted: str, got: str) -> str:
    """Both texts line by line, each line as a literal."""
    first = [repr(line) for line in wanted.split("\n")]
    second = [repr(line) for line in got.split("\n")]
    lines = difflib.unified_diff(first, second, "expected", "received", lineterm="", n=3)
    return "\n".join(line[:400] for line in list(lines)[:80])


def wrong_owners(wanted: Expectation, site: PageSite) -> list[str]:
    faults: list[str] = []
    for name, user in wanted.owners:
        path = site.root / name
        if not path.exists():
            faults.append(f"there is no {name}")
        elif pwd.getpwuid(path.stat().st_uid).pw_name != user:
            faults.append(f"{name} does not belong to {user}")
    return faults


def needs_root(sections: list[Section]) -> bool:
    return any(section.word in ROOT_WORDS for section in sections)


def run_case(build: Build, path: pathlib.Path) -> int:
    sections, _ = read_case(path, "")
    if needs_root(sections) and os.geteuid() != 0:
        print("needs root")
        return SKIPPED
    users = [section.argument(0) for section in sections if section.word == "user"]
    with PageSite(build, users[0] if users else None) as site:
        sections, wanted = read_case(path, str(site.root))
        status, output, errors = CaseRun(site, sections).run()
        faults = compare(wanted, status, output, errors) + wrong_owners(wanted, site)
    for fault in faults:
        print(fault)
    return 1 if faults else 0


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the build folder")
    parser.add_argument("case", type=pathlib.Path)
    options = parser.parse_args()
    try:
        return run_case(Build(options.build.resolve()), options.case)
    except CaseError as error:
        print(f"{options.case}: {error}")
        return 1


if __name__ == "__main__":
    sys.exit(main())
