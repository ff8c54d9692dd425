"""orvel.search as a Python user meets it: the program's answers from an iterator, paths of
every type, file names that are no UTF-8, the caller's own mistakes raised as Python raises
them, a search stopped early, and the module installed by pip into a virtual environment."""

import os
import pathlib
import subprocess
import sys
import threading

import pytest

import orvel

PROGRAM = os.environ.get("ORVEL_PROGRAM")
SOURCE = pathlib.Path(os.environ.get("ORVEL_SOURCE_DIR", pathlib.Path(__file__).parents[2]))


@pytest.fixture
def tree(tmp_path):
    (tmp_path / "a").mkdir()
    (tmp_path / "a" / "notes.md").write_text("# Harbour\n\nThe harbour wall.\n")
    (tmp_path / "a" / "plain.txt").write_text("Nothing to see.\n")
    (tmp_path / os.fsdecode(b"caf\xe9-harbour.txt")).write_text("A harbour caf\u00e9.\n")
    (tmp_path / "page.html").write_text("<p>By the <b>harbour</b></p>")
    (tmp_path / "z.bin").write_bytes(b"harbour\x00")
    return tmp_path


def program_lines(*arguments):
    run = subprocess.run([PROGRAM, "search", "--no-progress", *arguments], capture_output=True)
    return run.stdout.splitlines()


@pytest.mark.skipif(not PROGRAM, reason="the orvel program is not built")
@pytest.mark.parametrize("threads", [1, 8])
def test_results_are_the_programs_in_its_order(tree, threads):
    found = list(orvel.search("harbour", tree, want="files", threads=threads))
    assert [r.path_bytes for r in found] == program_lines("-l", "harbour", str(tree))
    counted = list(orvel.search("harbour", [tree], want="counts", threads=threads))
    assert [r.path_bytes + b":" + str(r.count).encode() for r in counted] == program_lines(
        "-c", "harbour", str(tree)
    )
    full = list(orvel.search("harbour", tree, threads=threads))
    expected = []
    for result in full:
        expected.append(result.path_bytes)
        expected += [f"{o.line}:{o.snippet}".encode() for o in result.occurrences]
    assert expected == program_lines("harbour", str(tree))


def test_a_name_that_is_no_utf8_comes_back_as_the_same_bytes(tree):
    name = bytes(tree) + b"/caf\xe9-harbour.txt"
    for paths in (tree, str(tree), bytes(tree), [pathlib.Path(tree)], name):
        found = [r for r in orvel.search("harbour", paths) if b"caf" in r.path_bytes]
        assert [r.path_bytes for r in found] == [name]
        assert os.fsencode(found[0].path) == name
        assert found[0].occurrences[0].snippet == "A harbour caf\u00e9"
        assert found[0].occurrences[0].line == 1


def test_results_have_named_fields(tree):
    (result,) = orvel.search("wall", tree)
    assert (result.status, result.kind, result.count, result.named) == ("matched", "markdown", 1, False)
    assert result.path == str(tree / "a" / "notes.md")
    assert [(o.line, o.snippet) for o in result.occurrences] == [(3, "The harbour wall")]
    (tree / "a" / ".gitignore").write_text("*.md\n")
    assert [r.path for r in orvel.search("wall", tree, ignore_files=True)] == []
    (accented,) = orvel.search("cafe", tree, ignore_accents=True, terms=True)
    (occurrence,) = accented.occurrences
    assert occurrence.snippet == "A harbour caf\u00e9"
    assert [occurrence.snippet[start:end] for start, end in occurrence.terms] == ["caf\u00e9"]
    line, snippet = occurrence
    assert list(orvel.search("cafe", tree)) == []
    skipped = list(orvel.search("harbour", tree, kinds=["text"], report_skipped=True))
    assert [(r.status, r.message) for r in skipped if r.status != "matched"] == [
        ("skipped", "binary (holds NUL bytes)")
    ]
    with pytest.raises(ValueError, match="unknown kind"):
        orvel.search("x", tree, kinds=["pdf"])
    with pytest.raises(ValueError, match="want"):
        orvel.search("x", tree, want="lines")


def test_the_callers_missing_or_unreadable_paths_raise(tree):
    missing = tree / "missing"
    with pytest.raises(FileNotFoundError) as raised:
        orvel.search("x", [tree, missing])
    assert raised.value.errno == 2 and raised.value.filename == str(missing)
    with pytest.raises(FileNotFoundError):
        orvel.search("x", tree, files_from=missing)
    if os.geteuid() != 0:
        locked = tree / "locked"
        locked.mkdir(mode=0)
        with pytest.raises(PermissionError) as raised:
            orvel.search("x", locked)
        assert raised.value.filename == str(locked)


def test_trouble_found_while_walking_is_a_result(tree):
    listed = tree / "list"
    listed.write_bytes(bytes(tree / "gone.txt") + b"\n" + bytes(tree / "page.html") + b"\n")
    results = list(orvel.search("harbour", [], files_from=listed))
    assert [(r.status, r.errno, r.named) for r in results] == [("failed", 2, True), ("matched", 0, True)]
    assert results[0].message == "No such file or directory"


def test_a_search_stops_when_cancelled_or_when_progress_raises(tmp_path):
    for f in range(500):
        (tmp_path / f"f{f:03d}.txt").write_text("harbour")
    search = orvel.search("harbour", tmp_path, want="files", threads=2)
    first = next(search)
    search.cancel()
    assert first.path.endswith("f000.txt") and list(search) == []
    assert search.progress.files_searched < 100

    def explode(progress):
        assert progress.files_found >= progress.files_searched
        raise RuntimeError("stop here")

    with pytest.raises(RuntimeError, match="stop here"):
        list(orvel.search("harbour", tmp_path, progress=explode, progress_interval=0))


def test_searches_on_several_python_threads_run_together(tree):
    answers = {}

    def run(k):
        answers[k] = [r.path for r in orvel.search("harbour", tree, want="files")]

    threads = [threading.Thread(target=run, args=(k,)) for k in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(answers) == 4 and len(set(map(tuple, answers.values()))) == 1
    assert len(answers[0]) == 3


@pytest.mark.skipif(not os.environ.get("ORVEL_BUILD_DIR"), reason="needs the library's build tree")
def test_an_index_spares_reading_and_answers_as_the_search_without_it(tree, tmp_path):
    index = orvel.Index(tmp_path / "idx")
    with pytest.raises(ValueError, match="no index"):
        index.status()
    done = index.update(tree)
    assert done["indexed"] == 5 and done["segments"] == 1
    assert index.status()["documents"] == 5
    assert index.verify() == []
    for query in ("harbour", "wall OR nothing", "zebra"):
        plain = [(r.path_bytes, r.count) for r in orvel.search(query, tree, want="counts")]
        indexed = [(r.path_bytes, r.count) for r in orvel.search(query, tree, want="counts", index=index.path)]
        assert indexed == plain
    (tmp_path / "idx").write_bytes(b"damaged")
    with pytest.warns(RuntimeWarning, match="searching without it"):
        assert len(list(orvel.search("harbour", tree, index=tmp_path / "idx"))) == 3


def test_pip_installs_the_module_into_a_virtual_environment(tmp_path):
    venv = tmp_path / "venv"
    # The system's packages (setuptools, pybind11) serve the build: no registry is asked.
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", str(venv)], check=True)
    python = venv / "bin" / "python"
    subprocess.run(
        [python, "-m", "pip", "install", "-q", "--no-build-isolation", "--no-index", "--no-deps", str(SOURCE)],
        check=True,
        env={**os.environ, "PYTHONPATH": ""},
    )
    check = (
        "import orvel, sys; "
        "assert orvel.__file__.startswith(sys.prefix), orvel.__file__; "
        "print(orvel.__version__, [r.kind for r in orvel.search('harbour', sys.argv[1], want='files')])"
    )
    shown = subprocess.run(
        [python, "-c", check, str(SOURCE / "examples" / "notes")],
        check=True,
        capture_output=True,
        text=True,
        env={**os.environ, "PYTHONPATH": ""},
    ).stdout
    assert shown.startswith(orvel.__version__ + " [") and "'textbundle'" in shown
