#!/usr/bin/env python3
"""Damaged compiled files in whole requests.

mutate_images writes damaged forms of compiled files, each with what the readers and the
machine alone say to it. Here the program must answer each with the page that follows from
that, and with nothing else.
"""

from __future__ import annotations

import argparse
import dataclasses
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TESTS / "pages"))

from page_site import Build, PageSite, Request  # noqa: E402

SECONDS = 60
CORRUPT = b"File is either corrupt or not a valid compiled Zeph Script file"


@dataclasses.dataclass
class Form:
    """A damaged file, and how far it gets: to open, to read, to run."""

    file: str
    name: str
    stage: str
    text: bytes

    def status(self) -> int:
        if self.stage == "trap":
            return -signal.SIGFPE
        return 0 if self.stage == "run" else 1

    def body(self) -> bytes:
        if self.stage == "run":
            return self.text
        reason = self.text if self.stage == "open" else CORRUPT
        return b"Unable to execute 'image.zpc': " + reason

    def outputs(self) -> list[bytes]:
        """What the program may send."""
        if self.stage == "trap":
            return [b""]
        head = b"Content-Type: text/html\r\n"
        body = self.body()
        with_length = head + b"Content-Length: %d\r\n\r\n" % len(body) + body
        without = head + b"\r\n" + body
        if self.stage != "run":
            return [without]
        # An error that is shown sends the page on its way; a fatal one is the last text.
        is_fatal = body.endswith(b"\n") and b"Fatal error in image.zpc @ [" in body
        is_shown = is_fatal or b"Runtime error in image.zpc @ [" in body
        return [without if is_shown else with_length]


def make_forms(program: pathlib.Path, sample: int, images: list[str], folder: str) -> list[Form]:
    command = [str(program), "--sample", str(sample), "--write", folder, *images]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    forms: list[Form] = []
    for line in (pathlib.Path(folder) / "list").read_text().splitlines():
        file, name, stage, text = line.split("\t")
        forms.append(Form(file, name, stage, bytes.fromhex(text)))
    return forms


def memory_ended(status: int, output: bytes) -> bool:
    """Whether the program could not get the memory that it asked for."""
    return status == -signal.SIGABRT and output == b""


def run_form(site: PageSite, form: Form, folder: str, limit: int) -> str | None:
    """Runs one form; the fault, if any."""
    scripts = site.root / "scripts" / form.file
    scripts.mkdir()
    shutil.copy(pathlib.Path(folder) / form.file, scripts / "image.zpc")
    request = Request({"PATH_INFO": f"/{form.file}/image.zpc"})
    if limit:
        request.limits.append(("AS", limit))
    process = site.start(request)
    try:
        output, errors = process.communicate(timeout=SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        process.communicate()
        return f"{form.file}, {form.name}: does not end"
    finally:
        shutil.rmtree(scripts)
    status = process.returncode
    output = output.replace(form.file.encode() + b"/image.zpc", b"image.zpc")
    if limit and memory_ended(status, output):
        return None
    if status == form.status() and not errors and output in form.outputs():
        return None
    return (
        f"{form.file}, {form.name}: {form.stage}\n"
        f"  expected {form.status()} {form.outputs()}\n"
        f"  received {status} {output!r}\n  {errors.decode('latin-1')}"
    )


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the build folder")
    parser.add_argument("--sample", type=int, default=30, help="forms of each image")
    parser.add_argument("--memory", type=int, default=0, help="address space in bytes")
    parser.add_argument("images", nargs="+")
    options = parser.parse_args()
    build = Build(options.build.resolve())
    program = build.folder / "tests" / "torture" / "mutate_images"
    with tempfile.TemporaryDirectory(prefix="zeph-forms-") as folder, PageSite(build) as site:
        forms = make_forms(program, options.sample, options.images, folder)
        # Runs that only the clock would end are left to mutate_images.
        short = [form for form in forms if form.stage != "long"]
        site.write_settings()
        site.give_to(site.user)
        results = [run_form(site, form, folder, options.memory) for form in short]
    faults = [fault for fault in results if fault]
    for fault in faults:
        print(fault)
    stages = {
        stage: sum(form.stage == stage for form in short)
        for stage in ("open", "read", "run", "trap")
    }
    print(f"{len(short)} forms {stages}, {len(faults)} faults")
    return 1 if faults or not short else 0


if __name__ == "__main__":
    sys.exit(main())
