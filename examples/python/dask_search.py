"""Search a folder of documents on Dask's distributed scheduler with the orvel module.

Each worker searches its share of the files with orvel.search and answers, per matching
document, its snippets and its language; the results come back in the order of the paths.

    python3 dask_search.py 'harbour NEAR/5 quay' ~/Documents              # a local cluster
    python3 dask_search.py 'harbour NEAR/5 quay' /srv/docs --scheduler tcp://head:8786

For a real cluster, start `dask scheduler` on one machine and `dask worker tcp://head:8786`
on each of the others (each with this library and module installed and the documents at
the same paths, on a shared file system), then pass the scheduler's address.
"""

import argparse
import os
import sys

import dask.bag as db
from dask.distributed import Client, LocalCluster

import orvel


def partition_results(paths, query_text):
    """What a search reports of the matching documents among some paths (one partition), in
    their order: orvel.search reads them, with all its shortcuts; documents that are not text
    or cannot be read drop out."""
    readable = [path for path in paths if os.access(path, os.R_OK)]
    results = []
    for result in orvel.search(query_text, readable, paragraphs=True, threads=1):
        if result.status != "matched":
            continue
        results.append(
            {
                "path": result.path,
                "snippets": [occurrence.snippet for occurrence in result.occurrences],
                "language": orvel.language_of_text(orvel.document_text(result.path)),
            }
        )
    return results


def document_paths(folder):
    """The documents below a folder, sorted, hidden ones left out: its files, and its
    .textbundle folders, each one document, as orvel search takes them."""
    paths = []
    for root, folders, files in os.walk(folder):
        visible = [name for name in folders if not name.startswith(".")]
        bundles = [name for name in visible if name.lower().endswith(".textbundle")]
        folders[:] = sorted(set(visible) - set(bundles))
        paths.extend(os.path.join(root, name) for name in files + bundles if not name.startswith("."))
    return sorted(paths)


def search(client, query_text, paths, partitions=None):
    """The results of the matching documents, in the order of the paths."""
    bag = db.from_sequence(paths, npartitions=partitions or max(1, min(len(paths), 64)))
    return client.compute(bag.map_partitions(partition_results, query_text)).result()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("query")
    parser.add_argument("folder")
    parser.add_argument("--scheduler", help="address of a running Dask scheduler")
    parser.add_argument("--workers", type=int, default=2, help="local worker processes")
    arguments = parser.parse_args()
    if arguments.scheduler:
        client = Client(arguments.scheduler)
    else:
        client = Client(LocalCluster(n_workers=arguments.workers, threads_per_worker=1))
    with client:
        for result in search(client, arguments.query, document_paths(arguments.folder)):
            print(result["path"], result["language"] or "-")
            for snippet in result["snippets"]:
                print("   ", snippet)
    return 0


if __name__ == "__main__":
    sys.exit(main())
