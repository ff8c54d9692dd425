#!/usr/bin/python3
"""The Python peers of the HTML benchmarks, timed in-process.

    html_python_peers.py PAGE-LIST text|links

Reads the page list (one path a line), runs every page once through each peer of the
chosen benchmark, and prints one line per peer:

    PEER <name> <input bytes> <seconds>

text: html2text gets each page decoded from UTF-8 (bad bytes replaced), the decoding timed
with it; BeautifulSoup gets the bytes and finds their encoding itself, parsing with lxml,
then get_text().
links: lxml.html parses the bytes and iterlinks() lists every link (a, area, frame, iframe
and the rest lxml knows).
Interpreter start-up and file reading are not timed.
"""
import sys
import time


def load(list_file):
    with open(list_file, encoding="utf-8") as names:
        paths = [line.rstrip("\n") for line in names if line.strip()]
    pages = []
    for path in paths:
        with open(path, "rb") as page:
            pages.append(page.read())
    return pages


def run_html2text(pages):
    import html2text

    for page in pages:
        converter = html2text.HTML2Text()
        converter.body_width = 0  # no re-wrapping: plain text, as ours
        converter.handle(page.decode("utf-8", errors="replace"))


def run_beautifulsoup(pages):
    from bs4 import BeautifulSoup

    for page in pages:
        BeautifulSoup(page, "lxml").get_text()


def run_lxml_iterlinks(pages):
    import lxml.html

    for page in pages:
        if page.strip():
            for _ in lxml.html.document_fromstring(page).iterlinks():
                pass


PEERS = {
    "text": (("html2text", run_html2text), ("beautifulsoup-lxml", run_beautifulsoup)),
    "links": (("lxml-iterlinks", run_lxml_iterlinks),),
}


def main():
    pages = load(sys.argv[1])
    total = sum(len(page) for page in pages)
    for name, run in PEERS[sys.argv[2] if len(sys.argv) > 2 else "text"]:
        run(pages[:1])  # imports and first-use set-up are not timed
        start = time.perf_counter()
        run(pages)
        print(f"PEER {name} {total} {time.perf_counter() - start:.6f}", flush=True)


if __name__ == "__main__":
    main()
