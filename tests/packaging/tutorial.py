#!/usr/bin/env python3
"""Does what docs/tutorial.md says, block by block, against the installed build.

    tutorial.py BUILD_DIR SOURCE_DIR

Blocks "sh" are typed into one shell whose home is empty; a block with a file name is written to that file; each line of a
block "output" must come, in order, in what the shell says from the block before on. The first block, which builds the
library, is what made BUILD_DIR and is not done again. Everything runs in a network namespace of its own, so that the
ports of the page are free.
"""
import os
import pathlib
import re
import selectors
import shutil
import subprocess
import sys
import tempfile
import time

PATIENCE = 100  # seconds for one block; a compiler on a busy machine
BLOCK = re.compile(r"^```(\w+)(?: (\S+))?\n(.*?)^```$", re.MULTILINE | re.DOTALL)


class Shell:
    """An interactive user's bash, without the user: jobs, one output of everything."""

    def __init__(self, home, start):
        # Processes too: whatever the page leaves running ends with the shell.
        isolate = ["unshare", "--net", "--pid", "--fork", "--kill-child"]
        if os.geteuid() != 0:
            isolate += ["--user", "--map-root-user"]
        environment = {"HOME": str(home), "PATH": os.environ["PATH"], "LANG": "C.UTF-8"}
        self.bash = subprocess.Popen([*isolate, "bash", "-em"], cwd=start, env=environment, stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.said = ""
        self.mark = 0
        self.type("ip link set lo up")

    def type(self, block):
        """Returns when the last command of the block has returned."""
        self.mark = len(self.said)
        self.bash.stdin.write((block + "\necho 'block' 'done'\n").encode())
        self.bash.stdin.flush()
        self.wait_for("block done", self.mark)

    def wait_for(self, text, at):
        """Where `text` ends in what was said from `at` on; the deadline is for what does not come."""
        deadline = time.monotonic() + PATIENCE
        with selectors.DefaultSelector() as selector:
            selector.register(self.bash.stdout, selectors.EVENT_READ)
            while (found := self.said.find(text, at)) < 0:
                left = deadline - time.monotonic()
                more = os.read(self.bash.stdout.fileno(), 65536) if left > 0 and selector.select(left) else b""
                if not more:
                    sys.exit(f"{self.said}\n--- the tutorial's '{text}' did not come")
                self.said += more.decode(errors="replace")
        return found + len(text)

    def expect(self, lines):
        at = self.mark
        for line in lines.splitlines():
            at = self.wait_for(line, at)

    def close(self):
        self.bash.stdin.close()
        self.bash.wait(timeout=PATIENCE)


def follow(page, shell, folder):
    done = {"sh": 0, "file": 0, "output": 0}
    for language, name, text in BLOCK.findall(page):
        if name:
            (folder / name).write_text(text)
            done["file"] += 1
        elif language == "sh":
            if "setup.sh" not in text:
                shell.type(text)
            done["sh"] += 1
        elif language == "output":
            shell.expect(text)
            done["output"] += 1
        else:
            sys.exit(f"a block '{language}' that nobody checks")
    return done


def main():
    build, source = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    page = (source / "docs/tutorial.md").read_text()
    home = pathlib.Path(tempfile.mkdtemp())
    try:
        copy = home / "repository"
        (copy / "build").mkdir(parents=True)
        (copy / "build/release").symlink_to(build)
        shell = Shell(home, copy)
        try:
            done = follow(page, shell, home / "first")
        finally:
            shell.close()
        print(f"tutorial: {done['sh']} blocks typed, {done['file']} files written, {done['output']} outputs seen")
        if min(done.values()) == 0:
            sys.exit("the page lost its blocks")
    finally:
        shutil.rmtree(home)


main()
