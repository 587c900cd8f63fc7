/* Reads a setting, with a value of its own while there is none, and changes it. Says what goes wrong on the library's
 * log. */
#include <stdio.h>

#include "vek_pal.h"

#define INTERVAL_ITEM 162
#define DEFAULT_INTERVAL 60

static int interval(void) {
  int32_t stored = 0;
  const int code = vek_pal_nvm_read(INTERVAL_ITEM, &stored, sizeof stored);
  if (code == VEK_PAL_NVM_READ_FAILED) return DEFAULT_INTERVAL; /* never written */
  return code == 0 ? stored : -1;
}

int main(void) {
  vek_pal_log_init();
  vek_pal_log_set_level(VEK_PAL_LOG_WARNING);
  printf("interval: %d s\n", interval());
  const int32_t longer = interval() + 1;
  if (vek_pal_nvm_write(INTERVAL_ITEM, &longer, sizeof longer) != 0) {
    vek_pal_loge("settings", "item %d stays as it was", INTERVAL_ITEM);
    return 1;
  }
  printf("interval: %d s\n", interval());
  return 0;
}
