"""scripts/make_stop_words.py on a tiny hand-made set of frequency lists."""
import pathlib
import subprocess
import sys

SCRIPT = pathlib.Path(__file__).resolve().parents[1] / "make_stop_words.py"

# Counts out of 1,000 words a corpus, so that shares read as per mille.
LISTS = {
    "en": ["the 300", "and 200", "hotel 50", "ok 100", "don't 40", "e-mail 30", "abc1 20",
           "taxi 60", "rare 5"],
    "da": ["og 300", "the 10", "hotel 50", "jeg 200", "ikke 100", "taxi 200", "rare 5",
           "ved 135"],
    "es": ["está 300", "pero 200", "esta 100", "que 400"],
    "pt": ["esta 900", "que 100"],
    "ro": ["așa 500", "țară 300", "este 200"],
    "nb": ["ikke 500", "jeg 300", "ved 200"],
}


def build(tmp_path, *options):
    frequency = tmp_path / "frequency"
    frequency.mkdir(exist_ok=True)
    for language, lines in LISTS.items():
        (frequency / f"{language}.txt").write_text("\n".join(lines) + "\n", encoding="utf-8")
    out = tmp_path / "out"
    subprocess.run([sys.executable, SCRIPT, "--frequency", frequency, "--out", out, *options],
                   check=True, capture_output=True)
    return {path.name[len("StopWords"):]: path.read_text(encoding="utf-8").split("\n")
            for path in sorted(out.glob("StopWords*"))}


def test_words_the_filter_can_never_match_are_left_out(tmp_path):
    english = build(tmp_path)["EN"]
    for word in ("ok", "don't", "e-mail", "abc1"):
        assert word not in english
    assert "hotel" in english and "rare" in english


def test_a_word_another_language_uses_far_more_is_left_out(tmp_path):
    lists = build(tmp_path)
    # "the": 300 in English, 10 in Danish: Danish loses it, English keeps it.
    assert "the" in lists["EN"] and "the" not in lists["DA"]
    # "taxi": 60 in English, 200 in Danish, more than twice as often: only Danish keeps it.
    assert "taxi" in lists["DA"] and "taxi" not in lists["EN"]
    # Used alike: both keep it.
    assert "hotel" in lists["EN"] and "hotel" in lists["DA"]
    # Compared with accents folded: Portuguese "esta" (900) dominates Spanish "está" and
    # "esta" (400 together); Spanish "que" (400) dominates Portuguese "que" (100).
    assert "está" not in lists["ES"] and "esta" not in lists["ES"] and "esta" in lists["PT"]
    assert "que" in lists["ES"] and "que" not in lists["PT"]
    # Bokmål and Danish share words; the one who uses a word more than twice as often wins.
    assert "ikke" in lists["NO"] and "ikke" not in lists["DA"]
    assert "jeg" in lists["NO"] and "jeg" in lists["DA"]


def test_the_dominance_factor_and_the_candidates_are_options(tmp_path):
    loose = build(tmp_path, "--dominance", "100")
    assert "the" in loose["DA"] and "taxi" in loose["EN"]
    top = build(tmp_path, "--words", "2")
    assert top["EN"] == ["and", "the"]


def test_romanian_words_come_in_both_spellings(tmp_path):
    romanian = build(tmp_path)["RO"]
    assert {"așa", "aşa", "țară", "ţară", "este"} <= set(romanian)


def test_the_same_input_gives_the_same_files(tmp_path):
    first = build(tmp_path)
    assert build(tmp_path) == first
    assert set(first) == {"EN", "DA", "ES", "PT", "RO", "NO"}
    for words in first.values():
        assert words == sorted(words)
