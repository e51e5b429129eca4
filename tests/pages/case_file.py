"""Reads a page case: a request to the program, and the response that it must get.

A case is plain text. What stands above the first mark tells what the case is about. A
mark is a line `--- WORD ARGUMENTS`; the lines below it, up to the next mark, are its
text. The line end in front of a mark belongs to the mark, so that a text which ends with
a line end is written with an empty line. docs/testing.md has the list of marks.
"""

from __future__ import annotations

import dataclasses
import pathlib
import re
import signal

MARK = "--- "
PATTERN = "~ "


class CaseError(Exception):
    """The case file itself cannot be understood."""


@dataclasses.dataclass
class Section:
    """A mark of a case with the text below it."""

    line: int
    word: str
    arguments: list[str]
    text: str

    def argument(self, index: int) -> str:
        """An argument that must be there."""
        if index >= len(self.arguments):
            raise CaseError(f"line {self.line}: '{self.word}' needs another argument")
        return self.arguments[index]

    def lines(self) -> list[str]:
        """The lines of the text, the empty ones left out."""
        return [line for line in self.text.split("\n") if line]

    def octets(self) -> bytes:
        """The text as hexadecimal digits; a '#' begins a comment."""
        digits = " ".join(line.split("#")[0] for line in self.lines())
        return bytes.fromhex(digits)

    def rest(self, index: int) -> str:
        """The arguments from one on, as a text with the usual escapes."""
        text = " ".join(self.arguments[index:])
        return text.encode("latin-1").decode("unicode_escape")


@dataclasses.dataclass
class Expectation:
    """The answer that a case wants."""

    status: int = 0
    headers: list[str] | None = None
    body: str = ""
    any_body: bool = False
    owners: list[tuple[str, str]] = dataclasses.field(default_factory=list)

    def pattern(self) -> re.Pattern[bytes]:
        """Matches exactly the standard output that is wanted."""
        parts: list[str] = []
        if self.headers is not None:
            parts.append("".join(line_pattern(line) + "\r\n" for line in self.headers) + "\r\n")
        if self.any_body:
            parts.append("(?s:.*)")
        else:
            parts.append("\n".join(line_pattern(line) for line in self.body.split("\n")))
        return re.compile("".join(parts).encode("latin-1"))

    def readable(self) -> str:
        """The standard output that is wanted, for people."""
        head = [] if self.headers is None else [*(line + "\r" for line in self.headers), "\r"]
        body = ["(any body)"] if self.any_body else self.body.split("\n")
        return "\n".join(head + body)


def line_pattern(line: str) -> str:
    """A line stands for itself unless it is marked as a regular expression."""
    return line[len(PATTERN) :] if line.startswith(PATTERN) else re.escape(line)


def parse_sections(text: str) -> list[Section]:
    """Cuts a case at its marks."""
    sections: list[Section] = []
    body: list[str] = []
    for number, line in enumerate(text.split("\n"), 1):
        if line.startswith(MARK):
            if sections:
                sections[-1].text = "\n".join(body)
            words = line[len(MARK) :].split()
            if not words:
                raise CaseError(f"line {number}: a mark without a word")
            sections.append(Section(number, words[0], words[1:], ""))
            body = []
        elif sections:
            body.append(line)
    if sections:
        sections[-1].text = "\n".join(body).removesuffix("\n")
    return sections


def signal_status(name: str) -> int:
    """The status of a process that the signal ended."""
    return -int(signal.Signals["SIG" + name])


def parse_expectation(sections: list[Section]) -> Expectation:
    """Takes the expecting marks out of the list."""
    wanted = Expectation()
    taken: list[Section] = []
    for section in sections:
        match section.word:
            case "status":
                wanted.status = int(section.argument(0))
            case "ends-by":
                wanted.status = signal_status(section.argument(0))
            case "headers":
                wanted.headers = section.lines()
            case "body" if section.arguments[:1] == ["any"]:
                wanted.any_body = True
            case "body" if section.arguments[:1] == ["repeated"]:
                wanted.body = int(section.argument(1)) * section.rest(2)
            case "body":
                wanted.body = section.text
            case "owned":
                wanted.owners.append((section.argument(0), section.argument(1)))
            case _:
                continue
        taken.append(section)
    sections[:] = [section for section in sections if section not in taken]
    return wanted


def read_case(path: pathlib.Path, site: str) -> tuple[list[Section], Expectation]:
    """The marks that arrange and make the request, and what it must give.

    `@T@` in the case stands for the folder of the site.
    """
    sections = parse_sections(path.read_bytes().decode("latin-1").replace("@T@", site))
    wanted = parse_expectation(sections)
    return sections, wanted
