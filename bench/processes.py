"""What a whole program costs, for the scripts that run programs side by side."""
import os
import subprocess
import sys
import time


def measured(command):
    """(Seconds of processor time, of the clock, the peak of memory in bytes), and what the program printed."""
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    said = process.stdout.read().decode()
    process.stdout.close()
    _, status, usage = os.wait4(process.pid, 0)
    clock = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command} failed: {process.returncode}\n{said}")
    return (usage.ru_utime + usage.ru_stime, clock, usage.ru_maxrss * 1024), said
