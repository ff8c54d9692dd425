#!/usr/bin/python3
"""What feedparser reads from feeds, for the agreement test of getItemsOfFeed.

    feed_agreement_peer.py FEED...

Prints one JSON line per feed: {"file": path, "items": [{"title": ..., "link": ...}, ...]},
each title and link as feedparser gives it ("" when absent).
"""
import json
import sys

import feedparser


def main():
    for path in sys.argv[1:]:
        with open(path, "rb") as feed:
            parsed = feedparser.parse(feed.read())
        items = [{"title": entry.get("title", ""), "link": entry.get("link", "")}
                 for entry in parsed.entries]
        print(json.dumps({"file": path, "items": items}))


if __name__ == "__main__":
    main()
