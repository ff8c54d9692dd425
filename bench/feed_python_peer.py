#!/usr/bin/python3
"""The peer of the feed benchmark: feedparser (Debian's python3-feedparser), in-process.

    feed_python_peer.py FEED-LIST

Reads the feeds named in the list (one path a line), parses each one's bytes once with
feedparser.parse, touching every entry's title and link, and prints

    PEER feedparser <input bytes> <seconds>

Interpreter start-up and file reading are not timed.
"""
import sys
import time

import feedparser


def main():
    with open(sys.argv[1], encoding="utf-8") as names:
        paths = [line.rstrip("\n") for line in names if line.strip()]
    feeds = []
    for path in paths:
        with open(path, "rb") as feed:
            feeds.append(feed.read())
    feedparser.parse(feeds[0])  # first-use set-up is not timed
    start = time.perf_counter()
    for feed in feeds:
        for entry in feedparser.parse(feed).entries:
            entry.get("title")
            entry.get("link")
    print(f"PEER feedparser {sum(map(len, feeds))} {time.perf_counter() - start:.6f}", flush=True)


if __name__ == "__main__":
    main()
