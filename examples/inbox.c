/*
 * inbox: prints each short message that comes in, and deletes it once it stands on standard output.
 *
 * The library calls back on the thread that receives from the modem. What is done there holds up every other
 * indication, so the callback only hands the event to the main thread, through a pipe.
 */
#include <stdio.h>
#include <unistd.h>

#include "vek_pal.h"

static void on_event(vek_pal_sms_event_t event, void* user_data) {
  const int* const pipe_end = user_data;
  if (write(*pipe_end, &event, sizeof event) < 0) perror("inbox");
}

/* Bytes from the network do not go to a terminal as they are. */
static void print_text(const char* text, int length) {
  for (int i = 0; i < length; i++) putchar(text[i] >= ' ' && text[i] <= '~' ? text[i] : '.');
  putchar('\n');
  fflush(stdout);
}

static void print_and_delete(const vek_pal_sms_event_t* event) {
  const int mode = event->message_mode == 1 ? VEK_PAL_SMS_MODE_GW : VEK_PAL_SMS_MODE_CDMA;
  char text[VEK_PAL_SMS_TEXT_MAX];
  int length;
  if (vek_pal_sms_get_message_request(event->storage_type, event->storage_index, mode, text, &length) != 0) {
    fprintf(stderr, "inbox: message %u cannot be read\n", event->storage_index);
    return;
  }
  print_text(text, length);
  vek_pal_sms_delete_by_index(event->storage_type, event->storage_index, mode);
}

int main(void) {
  int ends[2];
  if (pipe(ends) != 0) return 1;
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  if (vek_pal_sms_store_state_indication_register(on_event, &ends[1]) != 0) return 1;
  puts("waiting");
  fflush(stdout);

  vek_pal_sms_event_t event;
  while (read(ends[0], &event, sizeof event) == sizeof event) {
    if (event.event == VEK_PAL_SMS_EVENT_NEW_MESSAGE) print_and_delete(&event);
    if (event.event == VEK_PAL_SMS_EVENT_MEMORY_FULL)
      fprintf(stderr, "inbox: storage %d is full\n", event.storage_type);
  }
  return 0;
}
