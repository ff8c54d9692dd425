#!/usr/bin/python3
"""Quality beside speed: how much of each page's article the plain text keeps.

For every page of the article-extraction benchmark beside the project, the share of the
gold article's words (its articleBody; words are runs of letters and digits, lower-cased,
counted with their repetitions) that appear in the text, averaged over the pages: for
`orvel html text`, with and without --remove-junk, and for the html2text module given the
page decoded by BeautifulSoup's UnicodeDammit. Ours must not be lower than html2text's.

    bench/html_quality.py ORVEL [FOLDER]
"""
import collections
import pathlib
import re
import subprocess
import sys

import html2text
from bs4 import UnicodeDammit

WORD = re.compile(r"\w+")


def words(text):
    return collections.Counter(WORD.findall(text.lower()))


def recall(gold, text):
    wanted = words(gold)
    found = words(text)
    total = sum(wanted.values())
    return sum(min(count, found[word]) for word, count in wanted.items()) / total if total else 1.0


def orvel_text(orvel, page, *flags):
    result = subprocess.run([orvel, "html", "text", *flags, str(page)], capture_output=True,
                            check=True)
    return result.stdout.decode("utf-8")


def html2text_text(page):
    converter = html2text.HTML2Text()
    converter.body_width = 0
    return converter.handle(UnicodeDammit(page.read_bytes(), is_html=True).unicode_markup)


def main():
    orvel = sys.argv[1]
    folder = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else pathlib.Path(__file__).parent /
                          "../../shared/testdata/html/article-extraction-benchmark")
    pages = sorted(folder.glob("*.html"))
    if not pages:
        print(f"no pages in {folder}")
        return 0
    scores = collections.defaultdict(list)
    for page in pages:
        gold = page.with_suffix(".gold.txt").read_text(encoding="utf-8")
        scores["orvel html text"].append(recall(gold, orvel_text(orvel, page)))
        scores["orvel html text --remove-junk"].append(
            recall(gold, orvel_text(orvel, page, "--remove-junk")))
        scores["html2text"].append(recall(gold, html2text_text(page)))
    means = {name: sum(values) / len(values) for name, values in scores.items()}
    for name, mean in means.items():
        print(f"QUALITY {name}: {100 * mean:.2f}% of the gold article's words ({len(pages)} pages)")
    ours = min(means["orvel html text"], means["orvel html text --remove-junk"])
    met = ours >= means["html2text"]
    print("QUALITY target (ours >= html2text):", "ok" if met else "MISSED")
    return 0 if met else 1


if __name__ == "__main__":
    sys.exit(main())
