/*
 * The agent's side of the host-filter handshake: the library calls it for what the host's filter driver wants to know
 * or to have confirmed.
 */
#include <stdio.h>
#include <string.h>

#include "show.h"
#include "vek_pal.h"

/* Operations of the agent, and the working modes that it confirms. */
enum { CONFIRM = 1, QUERY_MODE = 2, EVENT = 3 };
static const char* const modes[] = {"filter disabled", "filter enabled", "busy"};
static const char* const events[] = {
    NULL,       "end user event", "filter uninstalled", "radio off",
    "radio on", "lock wanted",    "lock released",      "end user notified",
};
enum { MODES = sizeof(modes) / sizeof(modes[0]), EVENTS = sizeof(events) / sizeof(events[0]) };

static unsigned mode; /* as confirmed last */

int vek_vyrel_mbim_filter_cmd_msg_callback(const char* command, uint32_t command_size, char* answer,
                                           uint32_t answer_size) {
  unsigned operation, value;
  (void)command_size;
  if (sscanf(command, "AT+GTVYRA2D=%u,%u", &operation, &value) != 2) operation = 0;
  if (operation == CONFIRM && value < MODES) {
    mode = value;
    show("host filter: %s", modes[mode]);
  } else if (operation == EVENT && value > 0 && value < EVENTS) {
    show("host filter: %s", events[value]);
  } else if (operation == QUERY_MODE) {
    return snprintf(answer, answer_size, "+GTVYRA2D:%u\r\nOK\r\n", mode);
  } else {
    return snprintf(answer, answer_size, "ERROR\r\n");
  }
  return snprintf(answer, answer_size, "OK\r\n");
}
