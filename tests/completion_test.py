#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What a shell makes of the keys of its user with the script that the tool prints for it: bash and zsh on a terminal of their own,
fish by its own command for this. Skipped (77) where the shell is missing.
  completion_test.py bash|zsh|fish TOOL"""
import os
import pty
import re
import shutil
import signal
import subprocess
import sys
import tempfile

SHELL, TOOL = sys.argv[1], os.path.abspath(sys.argv[2])
DATA = """INSERT INTO USERS (USERID, USERNAME) VALUES ('ann', 'Ann O''Neil');
INSERT INTO USERS (USERID, USERNAME) VALUES ('BEN', 'Ben');
INSERT INTO CATALOG (CATALOGNAME) VALUES ('House of 2026');
INSERT INTO CATALOG (CATALOGNAME) VALUES ('Back: 50%, [old] $x');
"""
# What stands before, the word that is begun, and what the key TAB makes of it.
TYPED = [
    ("mercato ", "cata", "catalog"),
    ("mercato catalog tree ", "ho", r"House\ of\ 2026"),
    ("mercato catalog tree ", r"House\ o", r"House\ of\ 2026"),
    ("mercato catalog tree ", "'Ho", "'House of 2026'"),
    ("mercato rights show ", "a", "ann"),
    ("mercato find ", "--user=b", "--user=BEN"),
    ("mercato show ", "--col", "--color"),
    ("mercato upload ", "oth", "other.xml"),
    ("mercato upload ", "a", r"a\ file.csv"),
    ("mercato find ", "--config=oth", "--config=other.xml"),
    ("mercato --store 'Data Source=else where.db' catalog tree ", "E", "Elsewhere"),
]
READY = b"\x02ready\x03"
INTERACTIVE = {
    "bash": (["bash", "--norc", "--noprofile", "-i"],
             r"""PS1='\002''ready\003'; shown() { printf '\001%s\001' "$READLINE_LINE"; }
bind 'set bell-style none' 'set enable-bracketed-paste off' 2>/dev/null; bind -x '"\C-g": shown'; source ./script""",
             r"Back:\ 50%\,\ \[old\]\ \$x"),
    "zsh": (["zsh", "-f", "-i"],
            r"""autoload -Uz compinit; compinit -u -D; source ./script; unsetopt prompt_sp zle_bracketed_paste 2>/dev/null
shown() { printf '\001%s\001' "$BUFFER" }; zle -N shown; bindkey '^G' shown; PS1=$'\002''ready'$'\003'""",
            r"Back:\ 50%,\ \[old\]\ \$x"),
}


class Terminal:
    """An interactive shell, given keys."""

    def __init__(self, words):
        self.process, self.screen = pty.fork()
        if self.process == 0:
            os.execvp(words[0], words)
        self.seen = b""

    def wait_for(self, pattern):
        while not (found := re.search(pattern, self.seen, re.DOTALL)):
            self.seen += os.read(self.screen, 4096)
        self.seen = self.seen[found.end():]
        return found

    def type(self, keys):
        os.write(self.screen, keys.encode())

    def close(self):
        os.kill(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)


def completed_on_a_terminal():
    words, preparation, with_signs = INTERACTIVE[SHELL]
    with open("prepare", "w", encoding="utf-8") as file:
        file.write(preparation + "\n")
    terminal = Terminal(words)
    terminal.type("source ./prepare\n")
    terminal.wait_for(READY)
    for before, begun, whole in [*TYPED, ("mercato catalog tree ", "Back", with_signs)]:
        terminal.type(before + begun + "\t\a")
        yield before + begun, before + whole + " ", terminal.wait_for(b"\x01([^\x01]*)\x01").group(1).decode()
        terminal.type("\x15")  # an empty line again
    terminal.close()


def completed_by_fish():
    for before, begun, whole in [*TYPED, ("mercato catalog tree ", "Back", "Back: 50%, [old] $x")]:
        answer = subprocess.run(["fish", "--no-config", "--command", "source ./script; complete --do-complete=$argv[1]", before + begun],
                                capture_output=True, text=True, check=True)
        # The plain word, and its description behind a tab.
        yield before + begun, re.sub(r"[\\']", "", whole), answer.stdout.rstrip("\n").split("\t")[0]


if not shutil.which(SHELL):
    print(f"{SHELL} is not installed (package {SHELL}): its completion is not tested")
    sys.exit(77)
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    os.environ.update(PATH=os.path.dirname(TOOL) + ":" + os.environ["PATH"], HOME=folder, TERM="dumb", LC_ALL="C.UTF-8")
    for name in ("a file.csv", "other.xml"):
        open(name, "w", encoding="utf-8").close()
    elsewhere = ["--store", "Data Source=else where.db"]
    for words, text in [([], DATA), (elsewhere, "INSERT INTO CATALOG (CATALOGNAME) VALUES ('Elsewhere');")]:
        subprocess.run([TOOL, "init", *words], check=True, stdout=subprocess.DEVNULL)
        subprocess.run([TOOL, "execute", "-", *words], input=text, text=True, check=True, stdout=subprocess.DEVNULL)
    with open("script", "w", encoding="utf-8") as script:
        subprocess.run([TOOL, "completion", SHELL], stdout=script, check=True)
    signal.alarm(60)
    failures = 0
    for typed, expected, got in completed_by_fish() if SHELL == "fish" else completed_on_a_terminal():
        if got != expected:
            failures += 1
            print(f"{typed!r} became {got!r}, expected {expected!r}")
    sys.exit(1 if failures else 0)
