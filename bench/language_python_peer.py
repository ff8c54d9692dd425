#!/usr/bin/python3
"""The Python peer of the language benchmark: langdetect (Debian's python3-langdetect).

    language_python_peer.py PIECES ANSWERS

Reads one text a line from PIECES (UTF-8, line breaks inside a piece written as spaces),
writes one answer a line to ANSWERS: langdetect's language code, or "-" when it raises.
The detector's seed is fixed, so that its answers repeat from run to run.
"""
import sys

from langdetect import DetectorFactory, detect
from langdetect.lang_detect_exception import LangDetectException


def main():
    DetectorFactory.seed = 0
    with open(sys.argv[1], encoding="utf-8") as pieces, \
            open(sys.argv[2], "w", encoding="utf-8") as answers:
        for piece in pieces:
            try:
                answer = detect(piece)
            except LangDetectException:
                answer = "-"
            answers.write(answer + "\n")


if __name__ == "__main__":
    main()
