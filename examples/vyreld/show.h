#ifndef VYRELD_SHOW_H
#define VYRELD_SHOW_H

/* One line on standard output at a time, in full at once: whoever follows it sees no halves. */
void show(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
