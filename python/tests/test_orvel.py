"""The orvel Python module against what its C++ library and hashlib/zlib answer."""

import hashlib
import json
import os
import pathlib
import subprocess
import threading

import pytest

import orvel

EXAMPLES = pathlib.Path(os.environ.get("ORVEL_EXAMPLES", pathlib.Path(__file__).parents[2] / "examples"))
SHARED = pathlib.Path(os.environ.get("ORVEL_SHARED_TESTDATA", pathlib.Path(__file__).parents[3] / "shared/testdata"))
PROGRAM = os.environ.get("ORVEL_PROGRAM")


class TestQueryTerms:
    def test_written_query_parses_to_the_same_query(self):
        for text in ['harbour NEAR/3 "north quay"', "a OR (b -c)", "x & y | z", "NOT a b"]:
            query = orvel.QueryTerms(text)
            assert orvel.QueryTerms(query.text).text == query.text
            assert str(query) == query.text
        assert orvel.QueryTerms('harbour NEAR/3 "north quay"').text == 'harbour NEAR/3 "north quay"'

    def test_matching_follows_the_operators(self):
        query = orvel.QueryTerms("harbour NEAR/3 quay -storm")
        assert query.matches("the harbour by the quay")
        assert not query.matches("the harbour lies far, far away from the quay")
        assert not query.matches("the harbour by the quay in a storm")
        assert orvel.QueryTerms("QUAY").matches("quay")
        assert not orvel.QueryTerms("QUAY", case_sensitive=True).matches("quay")
        assert orvel.QueryTerms("ha?bo*", wildcard=True).matches("Harbour")

    def test_occurrence_ranges_index_python_strings(self):
        # Characters outside the BMP are two UTF-16 units but one Python character.
        text = "😀😀 first line\nsecond 🚢 line with the quay.\nthe quay again"
        query = orvel.QueryTerms("quay")
        found = query.occurrences(text, paragraphs=True)
        assert [line for _, _, line, _ in found] == [2, 3]
        for start, length, _, snippet in found:
            assert text[start : start + length] == snippet

    def test_snippets_are_assembled_or_none(self):
        query = orvel.QueryTerms("quay")
        text = "First the quay. Then nothing. Then the quay again."
        assert query.snippets(text, separator=" | ") == "First the quay | Then the quay again"
        assert query.snippets("no such word") is None

    def test_bad_input_is_repaired_or_refused_by_type(self):
        for broken, repaired in [("harbour AND (quay", "harbour AND quay"), ("AND harbour OR", "harbour"),
                                 (")harbour(", "harbour")]:
            query = orvel.QueryTerms(broken)
            assert query.text == repaired
            assert query.matches("the harbour quay") and not query.matches("nothing")
        with pytest.raises(TypeError):
            orvel.QueryTerms(b"bytes are not a query")

    def test_threads_search_in_parallel_without_sharing_state(self):
        text = ("the harbour and the quay. " * 20000) + "storm"
        query = orvel.QueryTerms("harbour NEAR/2 quay -storm")
        answers = []
        threads = [threading.Thread(target=lambda: answers.append(query.matches(text))) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert answers == [False] * 4


class TestMarkup:
    def test_html_text_from_strings_and_from_bytes_in_their_charset(self):
        assert orvel.html_to_text("<p>caf&eacute; <b>cr\u00e8me</b></p>") == "café crème"
        page = b"<html><head><meta charset=iso-8859-1></head><body>caf\xe9</body></html>"
        assert orvel.html_to_text(page) == "café"
        assert "<" not in orvel.html_to_text("<p>broken <b <i>markup")

    def test_links_in_document_order_each_once(self):
        html = '<a href="/one">1</a><area href="two.html"><a href="/one">again</a>'
        assert orvel.html_links(html) == ["/one", "two.html"]

    def test_feed_items_carry_every_field(self):
        feed = (EXAMPLES / "feeds" / "library-news.rss").read_text(encoding="utf-8")
        assert orvel.is_feed(feed)
        items = orvel.feed_items(feed, base_url="https://library.example/")
        assert [item["title"] for item in items][:2] == [
            "Reading room reopens after renovation",
            "Podcast: old maps & new questions",
        ]
        assert items[1]["link"] == "https://library.example/news/podcast-maps"
        assert items[1]["enclosures"] == [("https://library.example/audio/maps-episode-7.mp3", "24576000")]
        assert items[0]["timestamp"] == 1793606400.0  # 2026-11-02 08:00 UTC
        assert orvel.feed_items("not a feed") == []

    def test_document_text_reads_each_kind_or_says_why_not(self, tmp_path):
        assert "Kaffee & Kuchen" in orvel.document_text(EXAMPLES / "notes" / "cafe.md")
        assert "portolan charts" in orvel.document_text(str(EXAMPLES / "feeds" / "library-news.rss"))
        binary = tmp_path / "b.bin"
        binary.write_bytes(b"\x00\x01\x02")
        assert orvel.document_text(binary) is None
        with pytest.raises(OSError, match="No such file"):
            orvel.document_text(tmp_path / "missing.txt")


class TestLanguage:
    @pytest.mark.parametrize("code", ["en", "fr", "de", "es", "it"])
    def test_declarations_in_their_language(self, code):
        text = (EXAMPLES / "udhr" / f"{code}.txt").read_text(encoding="utf-8")
        assert orvel.language_of_text(text) == code.upper()

    def test_scripts_and_unclear_texts(self):
        text = (EXAMPLES / "udhr" / "el.txt").read_text(encoding="utf-8")
        assert orvel.language_of_text(text) is not None
        assert orvel.language_of_text("42 17 99") is None


class TestDSStore:
    def test_records_and_comments_of_a_folder(self):
        records = orvel.ds_store_records(EXAMPLES / "pages")
        assert ("en-utf16.html", "cmmt", "ustr", "English page in UTF-16 with a byte-order mark") in records
        assert orvel.finder_comment(EXAMPLES / "pages" / "en-utf16.html") == (
            "English page in UTF-16 with a byte-order mark"
        )
        assert orvel.finder_comment(EXAMPLES / "notes" / "cafe.md") is None

    @pytest.mark.skipif(PROGRAM is None or not (SHARED / "dsstore").is_dir(),
                        reason="needs the orvel program and the real .DS_Store files")
    def test_every_record_of_real_stores_as_the_program_lists_them(self):
        stores = sorted((SHARED / "dsstore").glob("*.DS_Store"))
        assert len(stores) >= 50
        for store in stores:
            listed = subprocess.run([PROGRAM, "dsstore", "ls", "--json", store], capture_output=True,
                                    check=True, text=True).stdout.splitlines()
            program = [(r["name"], r["id"], r["type"]) for r in map(json.loads, listed)]
            module = [(name, record_id, record_type)
                      for name, record_id, record_type, _ in orvel.ds_store_records(store)]
            assert module == program, store.name

    def test_damaged_stores_raise(self, tmp_path):
        (tmp_path / ".DS_Store").write_bytes(b"\x00\x00\x00\x01Bud1" + b"\xff" * 60)
        with pytest.raises(OSError):
            orvel.ds_store_records(tmp_path)


class TestArguments:
    """Values of the right type that cannot be taken raise what Python itself raises."""

    def test_lone_surrogates_raise_unicode_encode_error(self):
        name = b"caf\xe9.txt".decode("utf-8", "surrogateescape")
        for call in (lambda: orvel.QueryTerms(name), lambda: orvel.language_of_text(name),
                     lambda: orvel.html_to_text(name), lambda: orvel.QueryTerms("x").matches(name)):
            with pytest.raises(UnicodeEncodeError):
                call()

    def test_paths_are_file_system_names(self, tmp_path):
        with pytest.raises(ValueError):
            orvel.document_text("a\0b.txt")
        raw = tmp_path / b"caf\xe9.txt".decode("utf-8", "surrogateescape")
        raw.write_bytes(b"undecodable name, readable text")
        assert orvel.document_text(raw) == "undecodable name, readable text"
        assert orvel.document_text(os.fsencode(raw)) == "undecodable name, readable text"
        with pytest.raises(TypeError):
            orvel.document_text(42)

    def test_negative_sizes_overflow(self, tmp_path):
        with pytest.raises(OverflowError):
            orvel.QueryTerms("quay").snippets("the quay", max_characters=-1)
        with orvel.KeyedStorage(tmp_path / "blocks") as storage:
            with pytest.raises(OverflowError):
                storage.read(-1)

    def test_html_from_any_bytes_buffer(self):
        page = b"<p>caf\xc3\xa9</p>"
        for buffer in (page, bytearray(page), memoryview(page)):
            assert orvel.html_to_text(buffer) == "café"


class TestChecksums:
    def test_digests_equal_hashlibs(self):
        for data in [b"", b"abc", bytes(range(256)) * 1000]:
            assert orvel.md5(data) == hashlib.md5(data).digest()
            assert orvel.sha1(bytearray(data)) == hashlib.sha1(data).digest()

    def test_crc32_is_the_block_file_form(self):
        assert orvel.crc32(b"123456789") == 0x2DFD2D88
        assert orvel.crc32(memoryview(b"123456789")) == 0x2DFD2D88
        with pytest.raises(TypeError):
            orvel.crc32("text is no bytes")


class TestKeyedStorage:
    def test_blocks_survive_reopening(self, tmp_path):
        path = tmp_path / "blocks.db"
        with orvel.KeyedStorage(path, compress=True) as storage:
            offsets = [storage.append(payload) for payload in (b"first", b"x" * 10000, b"last")]
            assert storage.read(offsets[1]) == b"x" * 10000
            assert storage.read(offsets[0] + 1) is None
            with pytest.raises(ValueError):
                storage.append(b"")
        assert path.stat().st_size < 10000  # the long block was deflated
        with orvel.KeyedStorage(str(path)) as storage:
            assert list(storage) == [(offsets[0], b"first"), (offsets[1], b"x" * 10000), (offsets[2], b"last")]

    def test_closed_and_locked_files_are_refused(self, tmp_path):
        path = tmp_path / "blocks.db"
        storage = orvel.KeyedStorage(path)
        with pytest.raises(OSError):
            orvel.KeyedStorage(path)  # locked by the first
        storage.close()
        with pytest.raises(ValueError):
            storage.append(b"late")
        orvel.KeyedStorage(path).close()  # the lock went with the close
