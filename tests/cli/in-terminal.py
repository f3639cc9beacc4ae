#!/usr/bin/env python3
"""Runs a program on a pseudo-terminal, as a person at a terminal would: waits for its question
("Choose"), types the answer (ANSWER is the text typed; "EOF" presses Ctrl+D instead), and prints
everything the program wrote. Exits with the program's exit status.

Usage: in-terminal.py ANSWER PROGRAM [ARGUMENT ...]
"""
import os
import pty
import select
import sys
import time

answer, program = sys.argv[1], sys.argv[2:]
pid, fd = pty.fork()
if pid == 0:
    os.execv(program[0], program)

output = b""
answered = False
deadline = time.monotonic() + 60
while time.monotonic() < deadline:
    ready, _, _ = select.select([fd], [], [], 0.2)
    if ready:
        try:
            chunk = os.read(fd, 4096)
        except OSError:  # the program has ended
            break
        if not chunk:
            break
        output += chunk
    if not answered and b"Choose" in output:
        os.write(fd, b"\x04" if answer == "EOF" else answer.encode() + b"\r")
        answered = True

_, status = os.waitpid(pid, 0)
sys.stdout.buffer.write(output)
sys.exit(os.waitstatus_to_exitcode(status))
