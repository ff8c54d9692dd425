/* Calls of the C interface compiled by the C compiler, so that the headers are known to be
 * C; c_interface_test.cc checks what they answer against the C++ interface. */
#include <stdio.h>
#include <string.h>

#include "orvel/orvel.h"

/* Widens Latin-1 bytes into units; answers the count. */
size_t c_widen(const char* ascii, orvel_unichar* units, size_t capacity) {
  size_t length = strlen(ascii);
  if (length > capacity) length = capacity;
  for (size_t i = 0; i < length; i++) units[i] = (orvel_unichar)(unsigned char)ascii[i];
  return length;
}

typedef struct {
  char* names;
  size_t capacity;
  size_t used;
} TagNames;

static bool appendName(const orvel_unichar* characters, size_t length, size_t nameStart,
                       size_t nameLength, size_t tagStart, size_t tagLength, size_t textStart,
                       int kind, void* context) {
  TagNames* names = (TagNames*)context;
  (void)length, (void)tagStart, (void)tagLength, (void)textStart;
  if (kind == ORVEL_TAG_KIND_END) return false;
  if (names->used + nameLength + 3 > names->capacity) return true;
  names->names[names->used++] = (char)('0' + kind);
  for (size_t i = 0; i < nameLength && nameStart != ORVEL_NOT_FOUND; i++) {
    names->names[names->used++] = (char)toLowerAscii(characters[nameStart + i]);
  }
  names->names[names->used++] = ' ';
  names->names[names->used] = '\0';
  return false;
}

/* The kind and lower-cased name of every piece of the markup, as "1a 2 1/a " would be
 * written for a, a comment and /a (a closing tag's name has no "/": "1a 2 1a "). */
bool c_tag_names(const char* markup, char* names, size_t capacity) {
  orvel_unichar units[512];
  const size_t length = c_widen(markup, units, 512);
  TagNames collected = {names, capacity, 0};
  names[0] = '\0';
  return GetTagsOfCharacters(units, length, appendName, &collected);
}

/* The value of the attribute of the first tag of the markup, or "" when it has none. */
void c_first_attribute(const char* markup, const char* name, char* value, size_t capacity) {
  orvel_unichar units[512];
  const size_t length = c_widen(markup, units, 512);
  const char* end = strchr(markup, '>');
  orvel_range tag = {0, end == NULL ? length : (size_t)(end - markup) + 1};
  orvel_range found = rangeOfAttributeOfTagCharacters(units, tag, name);
  value[0] = '\0';
  if (found.location == ORVEL_NOT_FOUND || found.length >= capacity) return;
  for (size_t i = 0; i < found.length; i++) value[i] = (char)units[found.location + i];
  value[found.length] = '\0';
}

/* Whether the text matches the Unix pattern under a comparison mode, the pattern folded
 * first as the matchers expect. */
bool c_matches(const char* text, const char* pattern, unsigned comparison) {
  orvel_unichar textUnits[256], patternUnits[256];
  const size_t textLength = c_widen(text, textUnits, 256);
  const size_t patternLength = c_widen(pattern, patternUnits, 256);
  orvel_conversion_table table = unicharTableForWildcardComparison(comparison);
  prepareWildcardUsingUnicharTable(patternUnits, patternUnits + patternLength, table);
  return stringMatchesUnixWildcardUsingUnicharTable(textUnits, textUnits + textLength, patternUnits,
                                                    patternUnits + patternLength, table);
}

/* optimizeWildcard of the pattern: the type, the found range and the new length. */
int c_optimize(const char* pattern, size_t minLiterals, orvel_range* range, size_t* length) {
  orvel_unichar units[256];
  const size_t count = c_widen(pattern, units, 256);
  return optimizeWildcard(units, units + count, range, minLiterals, length);
}

/* The range of the next word of the text matching the pattern, case-insensitively. */
orvel_range c_find_word(const char* text, const char* pattern) {
  orvel_unichar textUnits[256], patternUnits[64];
  const size_t textLength = c_widen(text, textUnits, 256);
  const size_t patternLength = c_widen(pattern, patternUnits, 64);
  orvel_range all = {0, textLength};
  return FindWildcardInCharacters(textUnits, textLength, all, patternUnits, patternLength,
                                  ORVEL_WILDCARD_CASE_INSENSITIVE, 1, defaultWildcardSeparators(),
                                  false, true, false, false);
}

/* MD5 and SHA-1 of the text fed in two parts, in hex. */
void c_digests(const char* text, char md5Hex[33], char sha1Hex[41]) {
  unsigned char digest[20];
  const size_t half = strlen(text) / 2;
  isc_md5_t md5;
  isc_md5_init(&md5);
  isc_md5_update(&md5, (const unsigned char*)text, (uint32_t)half);
  isc_md5_update(&md5, (const unsigned char*)text + half, (uint32_t)(strlen(text) - half));
  isc_md5_final(&md5, digest);
  for (int i = 0; i < 16; i++) snprintf(md5Hex + 2 * i, 3, "%02x", digest[i]);
  isc_sha1_t sha1;
  isc_sha1_init(&sha1);
  isc_sha1_update(&sha1, (const unsigned char*)text, (uint32_t)half);
  isc_sha1_update(&sha1, (const unsigned char*)text + half, (uint32_t)(strlen(text) - half));
  isc_sha1_final(&sha1, digest);
  for (int i = 0; i < 20; i++) snprintf(sha1Hex + 2 * i, 3, "%02x", digest[i]);
}

/* The CRC of the text's units folded to upper case, through the global table the C
 * interface exports (built first: globals stay NULL until then). */
uint32_t c_upper_crc(const char* text) {
  orvel_unichar units[256];
  const size_t length = c_widen(text, units, 256);
  initUpperCharsTable();
  return CRC32UniCharsUsingConversionTable(units, length, _upperCharsTable);
}

/* The CRC of the bytes in two parts, continued with updateCRC32. */
uint32_t c_crc_in_parts(const char* text) {
  const size_t half = strlen(text) / 2;
  return updateCRC32(CRC32(text, half), text + half, strlen(text) - half);
}

/* UTF-8 to UTF-16 and back: whether the round trip gives the same bytes. */
bool c_utf8_round_trip(const char* utf8) {
  orvel_unichar units[256] = {0};
  uint8_t back[512] = {0};
  const size_t length = strlen(utf8);
  if (convertUTF8ToUnicode((const uint8_t*)utf8, length, units, 256) != 0) return false;
  size_t unitCount = 0;
  while (unitCount < 256 && units[unitCount] != 0) unitCount++;
  if (convertUnicodeToUTF8(units, unitCount, back, sizeof back) != 0) return false;
  return memcmp(back, utf8, length) == 0;
}

/* Opens a search of one folder (every result reported, skipped files too). */
static orvel_search* open_search(const char* query, const char** folder, int want, unsigned threads,
                                 char* error, size_t error_size) {
  orvel_search_options options;
  orvel_search_options_init(&options);
  options.query = query;
  options.paths = folder;
  options.path_count = 1;
  options.want = want;
  options.threads = threads;
  options.report_skipped = true;
  options.terms = true;
  return orvel_search_open(&options, error, error_size);
}

/* Searches a folder and writes one line per result: "M path count line:snippet ..." for a
 * match (occurrences as "line:snippet" after the count, each term inside the snippet after
 * it as "[column:term]"), "F path error message" for a
 * failure, "S path message" for a skipped file; answers the number of results, or -1 with
 * the reason in out when the search cannot start. */
int c_search(const char* query, const char* folder, int want, unsigned threads, char* out,
             size_t capacity) {
  orvel_search* search = open_search(query, &folder, want, threads, out, capacity);
  if (search == NULL) return -1;
  size_t used = 0;
  int results = 0;
  out[0] = '\0';
  const orvel_search_result* result;
  while ((result = orvel_search_next(search)) != NULL && used < capacity) {
    ++results;
    if (result->status == ORVEL_SEARCH_FAILED) {
      used += (size_t)snprintf(out + used, capacity - used, "F %s %d %s\n", result->path,
                               result->error, result->message);
      continue;
    }
    if (result->status == ORVEL_SEARCH_SKIPPED) {
      used +=
          (size_t)snprintf(out + used, capacity - used, "S %s %s\n", result->path, result->message);
      continue;
    }
    used += (size_t)snprintf(out + used, capacity - used, "M %s %zu", result->path, result->count);
    for (size_t k = 0; k < result->occurrence_count && used < capacity; k++) {
      const orvel_search_occurrence* occurrence = &result->occurrences[k];
      used += (size_t)snprintf(out + used, capacity - used, " %zu:%.*s", occurrence->line,
                               (int)occurrence->snippet_length, occurrence->snippet);
      for (size_t t = 0; t < occurrence->term_count && used < capacity; t++) {
        const orvel_search_term* term = &occurrence->terms[t];
        used += (size_t)snprintf(out + used, capacity - used, "[%zu:%.*s]", term->column,
                                 (int)term->length, occurrence->snippet + term->start);
      }
    }
    if (used < capacity) used += (size_t)snprintf(out + used, capacity - used, "\n");
  }
  orvel_search_free(search);
  return results;
}

/* Cancels a search after its first result: answers how many results came after it. */
int c_search_cancelled(const char* query, const char* folder) {
  orvel_search* search = open_search(query, &folder, ORVEL_SEARCH_FILES, 0, NULL, 0);
  if (search == NULL || orvel_search_next(search) == NULL) return -1;
  orvel_search_cancel(search);
  int after = 0;
  while (orvel_search_next(search) != NULL) ++after;
  orvel_search_free(search);
  return after;
}

/* Builds an index of a folder and searches it with the index and without: answers the files
 * each search finds (a line each, as c_search writes them) when both agree and the index is
 * sound, else -1 with what went wrong in out. */
int c_index_search(const char* query, const char* folder, const char* index, char* out,
                   size_t capacity) {
  orvel_index_report report;
  if (!orvel_index_update(index, &folder, 1, false, true, false, &report, out, capacity)) {
    return -1;
  }
  if (report.segments != 1 || orvel_index_verify(index, out, capacity) != 0) return -1;
  char plain[2048], indexed[2048];
  orvel_search_options options;
  orvel_search_options_init(&options);
  options.query = query;
  options.paths = &folder;
  options.path_count = 1;
  options.want = ORVEL_SEARCH_FILES;
  const char* const answers[2] = {NULL, index};
  char* texts[2] = {plain, indexed};
  int found = 0;
  for (int k = 0; k < 2; ++k) {
    options.index = answers[k];
    orvel_search* search = orvel_search_open(&options, out, capacity);
    if (search == NULL) return -1;
    size_t used = 0;
    texts[k][0] = '\0';
    const orvel_search_result* result;
    found = 0;
    while ((result = orvel_search_next(search)) != NULL && used < sizeof plain) {
      used += (size_t)snprintf(texts[k] + used, sizeof plain - used, "%s\n", result->path);
      ++found;
    }
    orvel_search_free(search);
  }
  if (strcmp(plain, indexed) != 0) {
    snprintf(out, capacity, "with the index:\n%swithout:\n%s", indexed, plain);
    return -1;
  }
  snprintf(out, capacity, "%s", plain);
  return found;
}
