"""The Dask example on a local cluster of two worker processes answers what a plain loop
over the same documents answers."""

import os
import pathlib
import sys

import pytest

distributed = pytest.importorskip("distributed")

EXAMPLES = pathlib.Path(os.environ.get("ORVEL_EXAMPLES", pathlib.Path(__file__).parents[2] / "examples"))
sys.path.insert(0, str(EXAMPLES / "python"))
# Worker processes import the example by name too.
os.environ["PYTHONPATH"] = os.pathsep.join(filter(None, [str(EXAMPLES / "python"), os.environ.get("PYTHONPATH")]))

import dask_search  # noqa: E402

import orvel  # noqa: E402


def plain_result(path, query_text):
    """One document searched by hand: None when it cannot be read, is not text or does not match."""
    try:
        text = orvel.document_text(path)
    except OSError:
        return None
    query = orvel.QueryTerms(query_text)
    if text is None or not query.matches(text):
        return None
    return {
        "path": path,
        "snippets": [snippet for _, _, _, snippet in query.occurrences(text, paragraphs=True)],
        "language": orvel.language_of_text(text),
    }


@pytest.fixture(scope="module")
def client():
    cluster = distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None, silence_logs=40
    )
    with distributed.Client(cluster) as connected:
        yield connected
    cluster.close()


@pytest.mark.parametrize("query", ["harbour", "quay OR café", "library -podcast", "nothing-like-this"])
def test_cluster_results_equal_a_plain_loop(client, query):
    paths = dask_search.document_paths(EXAMPLES)
    assert len(paths) > 20
    expected = [r for r in (plain_result(p, query) for p in paths) if r is not None]
    assert dask_search.search(client, query, paths, partitions=7) == expected
    # Both workers took part: the work really left this process.
    assert len(client.scheduler_info()["workers"]) == 2


def test_unreadable_and_binary_documents_drop_out(client, tmp_path):
    (tmp_path / "a.txt").write_text("the harbour")
    (tmp_path / "b.bin").write_bytes(b"\x00harbour")
    paths = [str(tmp_path / "a.txt"), str(tmp_path / "b.bin"), str(tmp_path / "missing.txt")]
    results = dask_search.search(client, "harbour", paths)
    assert [result["path"] for result in results] == [paths[0]]
