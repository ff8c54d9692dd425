#!/usr/bin/python3
"""orvel serve against orvel search, on one corpus in one run: for each query, the time from
the request to the page's first result and to its last (the line of totals), with the index
and without, beside the same query through the orvel program (whole process, to a pipe) asked for what
the page shows: at most 20 snippets a file (the page's cap), the terms in them marked
(--color always, which finds the terms as the page's do). Best of ORVEL_SERVE_RUNS
(default 5), warm cache.

The corpus is the index benchmark's (ORVEL_INDEX_CORPUS, default /tmp/orvel-index-corpus,
built by bench/index_vs_engines.sh or here): python3.11-doc's sources copied 9 times.
Usage: bench/serve_vs_search.py [ORVEL]"""

import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import time
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parent.parent
ORVEL = str(pathlib.Path(sys.argv[1] if len(sys.argv) > 1
                         else ROOT / "build/release/tools/orvel/orvel").resolve())
CORPUS = pathlib.Path(os.environ.get("ORVEL_INDEX_CORPUS", "/tmp/orvel-index-corpus"))
RUNS = int(os.environ.get("ORVEL_SERVE_RUNS", "5"))
QUERIES = ["quixotically", "zyzzogeton", "asyncio", "file NEAR/5 open", '"for example"', "the"]


def ensure_corpus():
    if (CORPUS / ".complete").exists():
        return
    subprocess.run([sys.executable, str(ROOT / "bench/copy_corpus.py"), str(CORPUS),
                    "/usr/share/doc/python3.11/html/_sources", "9", "docs"], check=True)
    subprocess.run(["find", str(CORPUS), "-type", "f", "-exec", "touch", "-d", "2026-01-01",
                    "{}", "+"], check=True)
    (CORPUS / ".complete").touch()
    time.sleep(2.1)  # files changed within two seconds are not trusted by their times


def program_seconds(query, index_arguments):
    best = None
    for _ in range(RUNS + 1):  # the first run warms the cache
        start = time.perf_counter()
        subprocess.run([ORVEL, "search", "--color", "always", "-m", "20", *index_arguments,
                        "--", query, str(CORPUS)],
                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    return best


def page_seconds(port, query):
    """(first result, last line, matches) of one search, best of the runs. The answer is read
    as a browser reads it, in large pieces off the socket (a client parsing it line by line
    in Python would cost more than the server)."""
    first_best = last_best = None
    request = ("GET /search?" + urllib.parse.urlencode({"q": query}) +
               f" HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\nConnection: close\r\n\r\n").encode()
    for _ in range(RUNS + 1):
        with socket.create_connection(("127.0.0.1", port)) as connection:
            start = time.perf_counter()
            connection.sendall(request)
            first = None
            answer = bytearray()
            while piece := connection.recv(1 << 20):
                if first is None and b'"type":"' in piece:
                    first = time.perf_counter() - start
                answer += piece
            last = time.perf_counter() - start
        matches = answer.count(b'{"type":"match"')
        first_best = first if first_best is None else min(first_best, first)
        last_best = last if last_best is None else min(last_best, last)
    return first_best, last_best, matches


def main():
    ensure_corpus()
    files = sum(1 for _ in CORPUS.rglob("*.txt"))
    print(f"corpus: {CORPUS}, {files} files; {os.cpu_count()} cores; best of {RUNS} runs")
    with tempfile.TemporaryDirectory() as work:
        index = pathlib.Path(work) / "index"
        subprocess.run([ORVEL, "index", "--index", str(index), str(CORPUS)],
                       stdout=subprocess.DEVNULL, check=True)
        print(f"{'query':<20} {'index':>6} {'matches':>8} {'first_ms':>9} {'last_ms':>9} "
              f"{'program_ms':>11} {'last/program':>13}")
        for indexed in (True, False):
            index_arguments = ["--index", str(index)] if indexed else ["--no-index"]
            server = subprocess.Popen(
                [ORVEL, "serve", "--port", "0", "--max-results", "1000000",
                 *(["--index", str(index)] if indexed else []), str(CORPUS)],
                stdout=subprocess.PIPE, text=True)
            port = int(server.stdout.readline().strip().rsplit(":", 1)[1].rstrip("/"))
            try:
                for query in QUERIES:
                    first, last, matches = page_seconds(port, query)
                    program = program_seconds(query, index_arguments)
                    print(f"{query:<20} {'yes' if indexed else 'no':>6} {matches:>8} "
                          f"{first * 1000:>9.1f} {last * 1000:>9.1f} {program * 1000:>11.1f} "
                          f"{last / program:>12.2f}x")
            finally:
                server.terminate()
                server.wait()


if __name__ == "__main__":
    main()
