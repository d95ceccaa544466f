#!/usr/bin/env python3
"""Runs one command on one core and prints what it took.

usage: one_run.py CORE OUT ERR COMMAND [ARGUMENT...]

COMMAND is a path. Its standard output and error go to the files OUT and ERR. Printed are its exit
status, wall, user and system seconds, and its peak memory in KiB, separated by blanks.

A process's peak memory counts from that of the process it was forked from. This one imports next
to nothing, so that little is hidden; the benchmark's own process may have held a whole file.
"""
import os
import sys
import time


def run_child(core, out, err, command):
    """What becomes the command; never returns."""
    try:
        flags = os.O_WRONLY | os.O_CREAT | os.O_TRUNC
        os.dup2(os.open(out, flags, 0o644), 1)
        os.dup2(os.open(err, flags, 0o644), 2)
        os.sched_setaffinity(0, {core})
        os.execv(command[0], command)
    except OSError as error:
        os.write(2, f"{command[0]}: {error}\n".encode())
    os._exit(127)


def main():
    core, out, err, command = int(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4:]
    start = time.perf_counter()
    child = os.fork()
    if child == 0:
        run_child(core, out, err, command)
    _, status, usage = os.wait4(child, 0)
    wall = time.perf_counter() - start
    print(os.waitstatus_to_exitcode(status), wall, usage.ru_utime, usage.ru_stime,
          usage.ru_maxrss)


if __name__ == "__main__":
    main()
