/* ORVELfoundation's C interface: character bitmaps and folding tables, fast UTF-16
 * primitives, CRC-32, MD5 and SHA-1, wildcards, the tag scanner and the collection search.
 * C++ programs use the headers of each subsystem (orvel/text/, orvel/search/, ...) instead;
 * both may be included in one translation unit. Link with -lorvelfoundation (pkg-config
 * orvelfoundation). */
#ifndef ORVEL_ORVEL_H
#define ORVEL_ORVEL_H

#include "orvel/c/characters.h"
#include "orvel/c/checksums.h"
#include "orvel/c/index.h"
#include "orvel/c/search.h"
#include "orvel/c/tag_scanner.h"
#include "orvel/c/types.h"
#include "orvel/c/wildcard.h"
#include "orvel/version.h"

#endif /* ORVEL_ORVEL_H */
