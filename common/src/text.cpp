#include <string.h>
#include <strings.h>

#include "vek_pal/util.h"

char* vek_pal_str_trim_left(char* s, int ch) {
  if (s == nullptr) return s;
  while (*s != '\0' && *s == static_cast<char>(ch)) s++;
  return s;
}

char* vek_pal_str_trim_right(char* s, int ch) {
  if (s == nullptr) return s;
  for (size_t length = strlen(s); length > 1 && s[length - 1] == static_cast<char>(ch); length--) s[length - 1] = '\0';
  return s;
}

char* vek_pal_str_trim(char* s, int ch) { return vek_pal_str_trim_left(vek_pal_str_trim_right(s, ch), ch); }

int vek_pal_mem_equal(const void* a, unsigned alen, const void* b, unsigned blen) {
  return alen == blen && (alen == 0 || memcmp(a, b, alen) == 0);
}

int vek_pal_nstr_equal(const char* a, unsigned alen, const char* b, unsigned blen, unsigned char case_sensitive) {
  if (alen != blen) return 0;
  if (alen == 0) return 1;
  return (case_sensitive != 0 ? strncmp(a, b, alen) : strncasecmp(a, b, alen)) == 0;
}

int vek_pal_str_equal(const char* a, const char* b, unsigned char case_sensitive) {
  return (case_sensitive != 0 ? strcmp(a, b) : strcasecmp(a, b)) == 0;
}
