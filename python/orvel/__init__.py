"""ORVELfoundation for Python: search documents and folders of them with a forgiving query
language (orvel.search walks folders on threads of its own, as the orvel program does), read
HTML pages, links and feeds, tell a text's language, read the Finder's .DS_Store files,
and checksum and store bytes.

    >>> import orvel
    >>> q = orvel.QueryTerms('harbour NEAR/3 "north quay"')
    >>> q.matches("Ships leave the harbour by the north quay.")
    True
"""

from ._orvel import (
    Index,
    KeyedStorage,
    Occurrence,
    QueryTerms,
    Search,
    SearchProgress,
    SearchResult,
    __version__,
    crc32,
    document_text,
    ds_store_records,
    feed_items,
    finder_comment,
    html_links,
    html_to_text,
    is_feed,
    language_of_text,
    md5,
    search,
    sha1,
)

__all__ = [
    "Index",
    "KeyedStorage",
    "Occurrence",
    "QueryTerms",
    "Search",
    "SearchProgress",
    "SearchResult",
    "__version__",
    "crc32",
    "document_text",
    "ds_store_records",
    "feed_items",
    "finder_comment",
    "html_links",
    "html_to_text",
    "is_feed",
    "language_of_text",
    "md5",
    "search",
    "sha1",
]
