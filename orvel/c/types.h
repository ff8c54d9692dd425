/* The types the C interface shares: UTF-16 code units, bitmaps, folding tables, ranges.
 *
 * In C++ the code-unit type is char16_t, the type the C++ interface uses, so that a C++
 * program may include these headers beside the C++ ones; in C it is uint_least16_t (C11's
 * char16_t), which has the same size and representation. */
#ifndef ORVEL_C_TYPES_H
#define ORVEL_C_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
typedef char16_t orvel_unichar;
#else
#include <stdbool.h>
typedef uint_least16_t orvel_unichar;
#endif

/* A membership bitmap over the 65,536 UTF-16 code units: bit (c & 7) of byte c >> 3. */
typedef const uint8_t* orvel_character_set_rep;
#define ORVEL_CHARACTER_SET_REP_SIZE 8192

/* A folding table: 65,536 code units, entry c the folded form of c. */
typedef const orvel_unichar* orvel_conversion_table;

/* A range of code units; location ORVEL_NOT_FOUND when nothing was found. */
typedef struct {
  size_t location;
  size_t length;
} orvel_range;

/* "Not found" for indexes and range locations (2^63 - 1). */
#define ORVEL_NOT_FOUND ((size_t)0x7FFFFFFFFFFFFFFF)

#endif /* ORVEL_C_TYPES_H */
