/* Searching a collection of documents with the query language, callable from C: open a
 * search with its options, take its results one at a time in the order of the walk, free it.
 *
 *   orvel_search_options options;
 *   orvel_search_options_init(&options);
 *   const char* paths[] = {"/home/me/Documents"};
 *   options.query = "harbour NEAR/5 ship";
 *   options.paths = paths;
 *   options.path_count = 1;
 *   char error[256];
 *   orvel_search* search = orvel_search_open(&options, error, sizeof error);
 *   if (search == NULL) { fprintf(stderr, "%s\n", error); return 1; }
 *   const orvel_search_result* result;
 *   while ((result = orvel_search_next(search)) != NULL) {
 *     if (result->status == ORVEL_SEARCH_MATCHED) puts(result->path);
 *   }
 *   orvel_search_free(search);
 *
 * A file's trouble (missing, unreadable, gone since it was found) is a result of its own with
 * status ORVEL_SEARCH_FAILED, in its place; the search goes on. Texts are UTF-8; paths are
 * the bytes the file system holds. */
#ifndef ORVEL_C_SEARCH_H
#define ORVEL_C_SEARCH_H

#include "orvel/c/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What a search answers for each matching file (orvel_search_options.want). */
#define ORVEL_SEARCH_FILES 0       /* that it matches */
#define ORVEL_SEARCH_COUNTS 1      /* and the number of occurrences */
#define ORVEL_SEARCH_OCCURRENCES 2 /* and each occurrence with its line and snippet */

/* Kinds of documents (orvel_search_options.kinds, a mask; 0 for all). */
#define ORVEL_KIND_TEXT 1u
#define ORVEL_KIND_MARKDOWN 2u
#define ORVEL_KIND_HTML 4u
#define ORVEL_KIND_FEED 8u
#define ORVEL_KIND_TEXTBUNDLE 16u

/* orvel_search_result.status */
#define ORVEL_SEARCH_MATCHED 0
#define ORVEL_SEARCH_SKIPPED 1 /* no text: a named file, or with report_skipped */
#define ORVEL_SEARCH_FAILED 2  /* could not be walked or read */

typedef struct {
  const char* query; /* UTF-8 */
  bool case_sensitive;
  bool wildcard;       /* terms are wildcard patterns */
  bool ignore_accents; /* compared through the accent-folding table */
  const char* const* paths;
  size_t path_count;
  const char* path_list; /* a file listing paths, or NULL */
  bool path_list_nul_separated;
  bool hidden;          /* walk hidden files and folders too */
  bool ignore_files;    /* leave out what .gitignore, .ignore and .orvelignore ignore */
  unsigned kinds;       /* ORVEL_KIND_... mask; 0: every kind */
  bool comments;        /* Finder comments can match too (line 0) */
  const char* language; /* leave out files clearly in another language (a code), or NULL */
  int want;             /* ORVEL_SEARCH_FILES, _COUNTS or _OCCURRENCES */
  bool paragraphs;      /* snippets are lines, not sentences */
  bool ranges;          /* occurrences carry their ranges in UTF-16 units */
  bool terms;           /* occurrences carry the query's terms inside their snippets */
  bool report_skipped;  /* files found in folders that are no text are results too */
  unsigned threads;     /* 0: one per core */
  const char* index;    /* an index (orvel/c/index.h) that spares reading files, or NULL; a
                           missing or damaged one is not used, and changes no answer */
} orvel_search_options;

/* A term inside a snippet: the first of the snippet, then each next after the one before. */
typedef struct {
  size_t start;  /* in the snippet's UTF-8, in bytes */
  size_t length; /* in bytes */
  size_t line;   /* where it starts: 1 for the first line, 0 in the Finder comment */
  size_t column; /* 1 for a line's first byte, counted in UTF-8 bytes */
} orvel_search_term;

typedef struct {
  size_t line;         /* 1 for the first line, 0 for the Finder comment */
  orvel_range range;   /* the snippet in the text, UTF-16 units; ORVEL_NOT_FOUND unless asked */
  const char* snippet; /* UTF-8, not NUL-terminated */
  size_t snippet_length;
  const orvel_search_term* terms; /* with the terms option, else NULL */
  size_t term_count;
} orvel_search_occurrence;

typedef struct {
  const char* path; /* NUL-terminated */
  size_t path_length;
  bool named;          /* given by the caller, not found in a folder */
  int status;          /* ORVEL_SEARCH_MATCHED, _SKIPPED or _FAILED */
  const char* kind;    /* "text", "markdown", "html", "feed" or "textbundle" */
  const char* message; /* why skipped or failed, else "" */
  int error;           /* failed: the system's error number, or -1 when there is none */
  size_t count;        /* occurrences (with ORVEL_SEARCH_COUNTS and _OCCURRENCES) */
  const orvel_search_occurrence* occurrences;
  size_t occurrence_count;
  uint64_t bytes_read;
} orvel_search_result;

typedef struct {
  uint64_t files_searched;
  uint64_t bytes_read;
  uint64_t files_found;
  bool walk_done;
} orvel_search_progress;

typedef struct orvel_search orvel_search;

/* Sets the defaults: no paths, every kind, occurrences without ranges, all cores. */
void orvel_search_options_init(orvel_search_options* options);
/* Starts a search; NULL when the options cannot be used (the query is not UTF-8, the language
 * is unknown), with the reason in error (error_size bytes at most, NUL-terminated). */
orvel_search* orvel_search_open(const orvel_search_options* options, char* error,
                                size_t error_size);
/* The next result, waiting until it is ready; NULL at the end or once cancelled. It stays
 * valid until the next call or orvel_search_free. */
const orvel_search_result* orvel_search_next(orvel_search* search);
/* Stops the search; any thread may call it while another waits in orvel_search_next. */
void orvel_search_cancel(orvel_search* search);
orvel_search_progress orvel_search_get_progress(const orvel_search* search);
void orvel_search_free(orvel_search* search);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_C_SEARCH_H */
