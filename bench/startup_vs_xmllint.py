#!/usr/bin/env python3
"""The start of an orvel process, measured as a script that runs it once per file sees it:
the CPU time (user + system, from wait4's rusage) of whole processes, `orvel --version` and
`orvel html text` of a one-line page beside xmllint reading the same page
(`xmllint --html --xpath 'string(/)'`), interleaved, the median of many runs each.
Targets: `orvel --version` at most 1 ms; `orvel html text` no slower than xmllint.

Usage: bench/startup_vs_xmllint.py [ORVEL] [RUNS]"""

import os
import pathlib
import statistics
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parents[1]
orvel = sys.argv[1] if len(sys.argv) > 1 else str(root / "build/release/tools/orvel/orvel")
runs = int(sys.argv[2]) if len(sys.argv) > 2 else 400

page = pathlib.Path(tempfile.mkdtemp()) / "one.html"
page.write_text("<p>Hello <b>world</b></p>\n")
commands = {
    "orvel --version": [orvel, "--version"],
    "orvel html text": [orvel, "html", "text", str(page)],
    "xmllint --html --xpath": ["/usr/bin/xmllint", "--html", "--xpath", "string(/)", str(page)],
}


def cpu_ms(argv):
    null = os.open(os.devnull, os.O_WRONLY)
    pid = os.posix_spawn(argv[0], argv, os.environ, file_actions=[(os.POSIX_SPAWN_DUP2, null, 1)])
    os.close(null)
    _, status, usage = os.wait4(pid, 0)
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"{argv[0]}: exited with {status}")
    return (usage.ru_utime + usage.ru_stime) * 1000


times = {name: [] for name in commands}
for _ in range(runs):
    for name, argv in commands.items():
        times[name].append(cpu_ms(argv))
median = {name: statistics.median(values) for name, values in times.items()}
for name, value in median.items():
    print(f"{name:26s} {value:6.3f} ms CPU (median of {runs})")
print(f"orvel --version: {median['orvel --version']:.3f} ms (target: at most 1 ms)")
ratio = median["orvel html text"] / median["xmllint --html --xpath"]
print(f"orvel html text / xmllint: {ratio:.2f}x (target: at most 1.00x)")
