#!/usr/bin/python3
"""The Python peers of the HTML-to-text benchmark, timed in-process.

Reads the page list (one path a line) from the file named first, converts every page once
with each converter, and prints one line per converter:

    PEER <name> <input bytes> <seconds>

html2text gets each page decoded from UTF-8 (bad bytes replaced), the decoding timed with
it; BeautifulSoup gets the bytes and finds their encoding itself, parsing with lxml, then
get_text(). Interpreter start-up and file reading are not timed.
"""
import sys
import time

import html2text
from bs4 import BeautifulSoup


def load(list_file):
    with open(list_file, encoding="utf-8") as names:
        paths = [line.rstrip("\n") for line in names if line.strip()]
    pages = []
    for path in paths:
        with open(path, "rb") as page:
            pages.append(page.read())
    return pages


def run_html2text(pages):
    converter = html2text.HTML2Text()
    converter.body_width = 0  # no re-wrapping: plain text, as ours
    for page in pages:
        converter.handle(page.decode("utf-8", errors="replace"))
        converter = html2text.HTML2Text()
        converter.body_width = 0


def run_beautifulsoup(pages):
    for page in pages:
        BeautifulSoup(page, "lxml").get_text()


def main():
    pages = load(sys.argv[1])
    total = sum(len(page) for page in pages)
    for name, run in (("html2text", run_html2text), ("beautifulsoup-lxml", run_beautifulsoup)):
        start = time.perf_counter()
        run(pages)
        print(f"PEER {name} {total} {time.perf_counter() - start:.6f}", flush=True)


if __name__ == "__main__":
    main()
