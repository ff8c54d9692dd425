#!/usr/bin/env python3
"""Builds a benchmark corpus of copies of real text: each SOURCE folder's .txt files (below
it, LICENSE.txt left out) copied COPIES times into CORPUS/PREFIXnn/, then a rare word
("quixotically") planted in three of the files, near the start, middle and end.

Usage: copy_corpus.py CORPUS SOURCE COPIES PREFIX [SOURCE COPIES PREFIX]...
"""

import pathlib
import shutil
import sys


def main(arguments):
    corpus = pathlib.Path(arguments[0])
    written = []
    for k in range(1, len(arguments), 3):
        source, copies, prefix = pathlib.Path(arguments[k]), int(arguments[k + 1]), arguments[k + 2]
        texts = sorted(p for p in source.rglob("*.txt") if p.is_file() and p.name != "LICENSE.txt")
        width = len(str(copies - 1))
        for copy in range(copies):
            for text in texts:
                target = corpus / f"{prefix}{copy:0{width}d}" / text.relative_to(source)
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(text, target)
                written.append(target)
    for k in (17, len(written) // 2, len(written) - 5):
        with open(written[k], "a", encoding="utf-8") as out:
            out.write("\nA quixotically rare word.\n")


if __name__ == "__main__":
    main(sys.argv[1:])
