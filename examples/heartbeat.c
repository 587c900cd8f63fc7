/* A timer puts a heartbeat into a queue; the main thread takes it out and prints it with its checksum, in Base64. */
#include <stdio.h>
#include <string.h>

#include "vek_pal.h"

#define BEATS 3
#define BEAT_SIZE 32

static void on_timer(void *arg) {
  const vek_pal_mq_t *beats = arg;
  const unsigned no_wait = 0;
  char text[BEAT_SIZE];
  snprintf(text, sizeof text, "alive at %ld", vek_pal_getSysTicks());
  vek_pal_mq_put(*beats, text, (unsigned)strlen(text), &no_wait); /* 308: nobody reads, and the beat is dropped */
}

int main(void) {
  vek_pal_mq_t beats = NULL;
  vek_pal_timer_t timer = NULL;
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  if (vek_pal_mq_create(10, BEAT_SIZE, "beats", &beats) != 0) return 1;
  if (vek_pal_timer_create(on_timer, &beats, "beat", &timer) != 0) return 1;
  vek_pal_timer_start(&timer, 200, 1);

  for (int i = 0; i < BEATS; i++) {
    unsigned char beat[BEAT_SIZE], base64[4 * BEAT_SIZE];
    unsigned size = 0;
    if (vek_pal_mq_get(beats, beat, &size, NULL) != 0) break;
    vek_pal_base64_encode(base64, sizeof base64, beat, size);
    printf("%s %04x\n", (const char *)base64, vek_pal_crc16(beat, (int)size));
  }

  /* An expiry may still be under way when the timer is gone: the queue must outlive it. */
  vek_pal_timer_delete(&timer);
  vek_pal_thread_msleep(200);
  vek_pal_mq_delete(&beats);
  return 0;
}
