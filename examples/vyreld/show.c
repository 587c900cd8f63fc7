#include "show.h"

#include <stdarg.h>
#include <stdio.h>

void show(const char* format, ...) {
  va_list args;
  va_start(args, format);
  fputs("vyreld: ", stdout);
  vprintf(format, args);
  putchar('\n');
  fflush(stdout);
  va_end(args);
}
