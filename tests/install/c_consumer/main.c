/* A C11 program against the installed C interface: the CRC-32 and SHA-1 of standard input,
 * and whether its first line matches a wildcard pattern given as the argument. */
#include <orvel/orvel.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
  static unsigned char input[1 << 16];
  const size_t length = fread(input, 1, sizeof input, stdin);
  isc_sha1_t sha1;
  unsigned char digest[ISC_SHA1_DIGESTLENGTH];
  isc_sha1_init(&sha1);
  isc_sha1_update(&sha1, input, (uint32_t)length);
  isc_sha1_final(&sha1, digest);
  printf("crc32 %08x sha1 ", (unsigned)CRC32(input, length));
  for (int i = 0; i < ISC_SHA1_DIGESTLENGTH; i++) printf("%02x", digest[i]);
  printf("\n");
  if (argc < 2) return 0;

  orvel_unichar line[256], pattern[256];
  size_t lineLength = 0, patternLength = 0;
  while (lineLength < length && lineLength < 256 && input[lineLength] != '\n') {
    line[lineLength] = input[lineLength];
    lineLength++;
  }
  for (; argv[1][patternLength] != '\0' && patternLength < 256; patternLength++) {
    pattern[patternLength] = (unsigned char)argv[1][patternLength];
  }
  orvel_conversion_table upper = unicharTableForWildcardComparison(ORVEL_WILDCARD_CASE_INSENSITIVE);
  prepareWildcardUsingUnicharTable(pattern, pattern + patternLength, upper);
  const bool matches = stringMatchesUnixWildcardUsingUnicharTable(line, line + lineLength, pattern,
                                                                  pattern + patternLength, upper);
  printf("%s %s\n", matches ? "matches" : "differs", ORVEL_VERSION_STRING);
  return matches ? 0 : 1;
}
