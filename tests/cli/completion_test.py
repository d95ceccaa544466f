#!/usr/bin/env python3
"""Presses Tab in real shells that have the program's completion scripts.

    completion_test.py PROGRAM SHELL

SHELL is bash, zsh or fish. Where it is not installed, or there are no pseudo-terminals, the test is
skipped (exit status 77). In the shell a function takes the place of the program and prints the words
that it gets.
"""

import os
import pathlib
import pty
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import pseudo_terminals

PROGRAM = SHELL = None
PATIENCE = 60

# What is typed up to Tab, and the words that stand there then.
COMPLETED = [
    ("readkit so", ["sort"]),
    ("readkit comp", ["completion"]),
    ("readkit completion z", ["completion", "zsh"]),
    ("readkit count --multi-mapped drop-n", ["count", "--multi-mapped", "drop-nh"]),
    ("readkit sort --forc", ["sort", "--force"]),
    ("readkit sort one-f", ["sort", "one-file.bam"]),
    ("readkit sort a", ["sort", "a file.bam"]),
    ("readkit sort -o one-f", ["sort", "-o", "one-file.bam"]),
    ("readkit fields --npz one-f", ["fields", "--npz", "one-file.bam"]),
    ("readkit view fold", ["view", "folder"]),
]

START = {
    "bash": (["bash", "--norc", "--noprofile", "-i"],
             "bind 'set bell-style none'; bind 'set enable-bracketed-paste off'; "
             "readkit() {{ printf '<%s>' \"$@\"; printf '=%s\\n' end; }}; "
             "source <('{program}' completion bash); PS1='ready$ '\n"),
    "zsh": (["zsh", "-f", "-i"],
            "autoload -U compinit; compinit -u -D; unsetopt zle_bracketed_paste beep; "
            "unset zle_bracketed_paste; "
            "readkit() {{ printf '<%s>' \"$@\"; printf '=%s\\n' end }}; "
            "source <('{program}' completion zsh); PROMPT='ready$ '\n"),
    "fish": (["fish", "--no-config", "-i"],
             "function readkit; printf '<%s>' $argv; printf '=%s\\n' end; end; "
             "'{program}' completion fish | source; "
             "function fish_prompt; echo 'ready$ '; end\n"),
}


class Shell:
    """An interactive shell on a pseudo-terminal."""

    def __init__(self, folder):
        words, start = START[SHELL]
        environment = {"PATH": os.environ["PATH"], "TERM": "dumb", "HOME": folder,
                       "LC_ALL": "C.UTF-8"}
        self.pid, self.master = pty.fork()
        if self.pid == 0:
            os.chdir(folder)
            os.execvpe(words[0], words, environment)
        self.type(start.format(program=PROGRAM))
        self.read_until(r"ready\$ (?!.*ready\$ '|.*end)")

    def type(self, text):
        os.write(self.master, text.encode())

    def read_until(self, pattern):
        shown = ""
        end = time.monotonic() + PATIENCE
        while not re.search(pattern, shown, re.DOTALL):
            if time.monotonic() > end:
                raise AssertionError(f"not shown: {pattern}; shown: {shown!r}")
            if select.select([self.master], [], [], 0.1)[0]:
                shown += os.read(self.master, 65536).decode("utf-8", "replace")
        return shown

    def words_after_tab(self, line):
        self.type(line + "\t")
        time.sleep(0.4)  # a shell that has not seen Tab yet would take Enter for its end
        self.type("\n")
        shown = self.read_until("=end")
        # Shells differ in whether the slash of a folder stays.
        return re.findall("<([^>]*?)/?>", shown[shown.rindex("\n", 0, shown.index("=end")):])

    def close(self):
        os.kill(self.pid, signal.SIGKILL)
        os.waitpid(self.pid, 0)
        os.close(self.master)


class CompletionTest(unittest.TestCase):
    def test_tab(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("one-file.bam", "a file.bam"):
                (pathlib.Path(folder) / name).touch()
            (pathlib.Path(folder) / "folder").mkdir()
            shell = Shell(folder)
            try:
                for line, words in COMPLETED:
                    self.assertEqual(shell.words_after_tab(line), words, line)
            finally:
                shell.close()

    def test_every_option_of_every_command_is_offered(self):
        script = subprocess.run([PROGRAM, "completion", SHELL], check=True, capture_output=True,
                                text=True).stdout
        general = subprocess.run([PROGRAM, "--help"], check=True, capture_output=True,
                                 text=True).stdout
        commands = re.findall(r"^  ([a-z]+) ", general, re.MULTILINE)
        self.assertIn("sort", commands)
        for command in commands:
            self.assertIn(command, script)
            text = subprocess.run([PROGRAM, command, "--help"], check=True, capture_output=True,
                                  text=True).stdout
            for option in re.findall(r"^  (?:-\w, )?(--[\w-]+)", text, re.MULTILINE):
                name = option if SHELL != "fish" else "-l " + option[2:]
                self.assertIn(name, script, command)


if __name__ == "__main__":
    PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
    SHELL = sys.argv[2]
    if shutil.which(SHELL) is None:
        print(f"skipped: {SHELL} is not installed")
        sys.exit(77)
    pseudo_terminals.skip_without()
    unittest.main(argv=sys.argv[:1])
