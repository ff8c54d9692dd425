/* The one-pass tag scanner, callable from C.
 *
 * GetTagsOfCharacters walks UTF-16 units once and calls the handler for every tag
 * (kind 1), comment (2) and bracketed section (3), and once more at the end (kind 0) for
 * the trailing text. Positions are indexes into `characters`: the tag's name
 * (ORVEL_NOT_FOUND and 0 when it has none), the piece from its "<" through its ">" (at the
 * end: the text's length and 0), and where the text before the piece starts (it runs to
 * tagStart). A handler answering true stops the scan without the final call. Script and
 * style elements come as one piece, body included. */
#ifndef ORVEL_C_TAG_SCANNER_H
#define ORVEL_C_TAG_SCANNER_H

#include "orvel/c/types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ORVEL_TAG_KIND_END 0
#define ORVEL_TAG_KIND_TAG 1
#define ORVEL_TAG_KIND_COMMENT 2
#define ORVEL_TAG_KIND_SECTION 3

typedef bool (*orvel_tag_handler)(const orvel_unichar* characters, size_t length, size_t nameStart,
                                  size_t nameLength, size_t tagStart, size_t tagLength,
                                  size_t textStart, int kind, void* context);

/* Scans the units; false without a call for an empty text, else true. */
bool GetTagsOfCharacters(const orvel_unichar* characters, size_t length, orvel_tag_handler handler,
                         void* context);

/* The range of the value of the attribute `name` (ASCII, any case) inside the tag at
 * characters[tag]; location ORVEL_NOT_FOUND when the tag has no such non-empty value. */
orvel_range rangeOfAttributeOfTagCharacters(const orvel_unichar* characters, orvel_range tag,
                                            const char* name);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_C_TAG_SCANNER_H */
