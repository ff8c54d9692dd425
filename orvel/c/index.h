/* The persistent index of collections of documents, callable from C: build or update it,
 * check it, and name it in orvel_search_options.index so that a search reads only the files
 * that may match (and every file changed since), with the answers of a search without it.
 *
 *   const char* paths[] = {"/srv/docs"};
 *   orvel_index_report report;
 *   char error[256];
 *   if (!orvel_index_update("/srv/docs/.orvel-index", paths, 1, false, true, false, &report,
 *                           error, sizeof error)) {
 *     fprintf(stderr, "%s\n", error);
 *   } */
#ifndef ORVEL_C_INDEX_H
#define ORVEL_C_INDEX_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What an update did. */
typedef struct {
  uint64_t indexed;   /* files read (new or changed) */
  uint64_t unchanged; /* files kept as they were indexed */
  uint64_t removed;   /* files indexed before and gone now */
  uint64_t failed;    /* files that could not be read (left out) */
  uint64_t bytes_read;
  size_t segments; /* segments afterwards */
  bool merged;     /* the segments were merged into one */
} orvel_index_report;

/* Builds the index at `index` (a file; its segments lie beside it), or brings it up to date,
 * for the folders; `ignore_files` leaves out what .gitignore, .ignore and .orvelignore
 * ignore; `compact` merges every segment into one. Waits while another update runs. False
 * with the reason in error (error_size bytes at most, NUL-terminated) when it cannot be
 * written; report may be NULL. */
bool orvel_index_update(const char* index, const char* const* paths, size_t path_count, bool hidden,
                        bool ignore_files, bool compact, orvel_index_report* report, char* error,
                        size_t error_size);

/* Reads the whole index: the number of problems found (0 when it is sound), the first of
 * them in problem (problem_size bytes at most, NUL-terminated; may be NULL). */
size_t orvel_index_verify(const char* index, char* problem, size_t problem_size);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_C_INDEX_H */
