#!/usr/bin/env python3
"""Rules of the tree that no compiler checks; prints every breach and exits 1 if there is one.

 * a folder includes only from the folders it may use, and only the folders named know a foreign library;
 * tests do not sleep;
 * every declaration block of a public header has a comment.
"""
import re
import subprocess
import sys

# folder -> folders of ours that it may include from ("include" and itself are always allowed)
MAY_USE = {
    "include": {"siplib"},
    "platform/baseuafw": set(),
    "platform/siplib": {"baseuafw"},
    "xml": {"baseuafw"},
    "messages": {"xml", "baseuafw", "siplib"},
    "subscriptions": {"messages", "xml", "core", "baseuafw", "siplib"},
    "core": {"baseuafw", "siplib", "subscriptions"},
    "registrar": {"messages", "xml", "core", "subscriptions", "baseuafw", "siplib"},
    "daemons": {"core", "messages", "xml", "subscriptions", "registrar", "baseuafw", "siplib"},
    "examples": {"core", "messages", "xml", "subscriptions", "registrar", "baseuafw", "siplib"},
    "tools": {"core", "messages", "xml", "subscriptions", "registrar", "baseuafw", "siplib", "daemons"},
}
# foreign header prefix -> where it may stand
FOREIGN = {
    "sofia-sip/": ("platform/siplib/sofia/", "tests/", "bench/", "fuzz/"),
    "libxml/": ("xml/", "daemons/imsfwkd/", "tools/imswatch/", "tests/", "bench/", "fuzz/"),
    "libmnl/": ("daemons/imslinkevd/", "tests/", "fuzz/"),
    "CLI/": ("tools/",),
    "nlohmann/": ("tools/", "tests/"),
    "systemd/": ("daemons/",),
}
# the one header that includes all public ones
UMBRELLA = "include/imsua.h"
# core looks at two classes of subscriptions, and no more
CORE_FROM_SUBSCRIPTIONS = {"subscriptions/IMS_event_mgmt.h", "subscriptions/IMS_address.h"}
# tools use what daemons share, and no daemon
TOOLS_FROM_DAEMONS = "daemons/common/"
SLEEP = re.compile(r"\b(sleep|usleep|sleep_for|sleep_until|nanosleep)\s*\(")
PUBLIC_FOLDERS = ("include", "core", "messages", "xml", "subscriptions", "registrar", "platform/baseuafw",
                  "platform/siplib")

breaches = []


def files(*patterns):
    out = subprocess.run(["git", "ls-files", *patterns], capture_output=True, text=True, check=True).stdout
    return out.split()


def folder_of(path):
    for folder in sorted(MAY_USE, key=len, reverse=True):
        if path.startswith(folder + "/"):
            return folder
    return None


def check_includes(path, lines):
    folder = None if path == UMBRELLA else folder_of(path)
    for number, line in enumerate(lines, 1):
        match = re.match(r'\s*#\s*include\s+["<]([^">]+)[">]', line)
        if not match:
            continue
        target = match.group(1)
        for prefix, allowed in FOREIGN.items():
            if target.startswith(prefix) and not path.startswith(allowed):
                breaches.append(f"{path}:{number}: <{target}> may not be included here")
        if folder is None:
            continue
        top = target.split("/")[0]
        own = folder.split("/")[-1]
        if top in ("include", own) or path.startswith(top + "/"):
            continue
        ours = {"core", "messages", "xml", "subscriptions", "registrar", "baseuafw", "siplib", "daemons", "tools", "examples", "tests"}
        if top in ours and top not in MAY_USE[folder]:
            breaches.append(f"{path}:{number}: {folder}/ may not use {target}")
        if folder == "tools" and top == "daemons" and not target.startswith(TOOLS_FROM_DAEMONS):
            breaches.append(f"{path}:{number}: tools/ may not use {target}")
        if folder == "core" and top == "subscriptions" and target not in CORE_FROM_SUBSCRIPTIONS:
            breaches.append(f"{path}:{number}: core/ may not use {target}")


def check_sleeps(path, lines):
    for number, line in enumerate(lines, 1):
        if SLEEP.search(line.split("//")[0]):
            breaches.append(f"{path}:{number}: a test waits for the event with a deadline, it never sleeps")


def check_comments(path, lines):
    """A public header opens with what it is; each public block of declarations in a class starts with a comment."""
    if not lines or not lines[0].startswith("//"):
        breaches.append(f"{path}:1: a header opens with a comment that says what it is")
    depth_of_class = None
    hidden = False        # in the private part
    depth = 0
    fresh = True          # a block starts after a blank line, a brace or an access specifier
    commented = False
    for number, line in enumerate(lines, 1):
        text = line.strip()
        is_class = re.match(r"(class|struct)\s+\w*_API\s+\w+.*\{", text)
        if text.startswith("//"):
            commented, fresh = True, False
            continue
        if is_class:
            depth_of_class = depth
        if is_class or text in ("public:", "protected:"):
            hidden = False
        if text == "private:":
            hidden = True
        inside = depth_of_class is not None and depth == depth_of_class + 1
        declares = inside and "(" in text and not text.startswith(("#", "}", ":")) and not is_class
        # destructors, copies, and what a base class already documents
        trivial = re.search(r"=\s*(delete|default)|^~|^virtual ~|operator=|\boverride\b", text)
        if declares and fresh and not hidden and not commented and not trivial and "//" not in text:
            breaches.append(f"{path}:{number}: '{text}' has no comment")
        depth += text.count("{") - text.count("}")
        if depth_of_class is not None and depth <= depth_of_class:
            depth_of_class = None
        boundary = text == "" or text.endswith(":") or is_class
        fresh = bool(boundary)
        commented = commented and not boundary


for source in files("*.h", "*.cpp"):
    with open(source, encoding="utf-8") as stream:
        content = stream.read().splitlines()
    check_includes(source, content)
    if source.startswith("tests/"):
        check_sleeps(source, content)
    if source.endswith(".h") and source.startswith(PUBLIC_FOLDERS):
        check_comments(source, content)

print("\n".join(breaches) if breaches else "rules: no breach")
sys.exit(1 if breaches else 0)
