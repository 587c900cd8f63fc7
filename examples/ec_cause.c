/* Waits for the laptop's embedded controller to interrupt, and asks it why. */
#include <stdint.h>
#include <stdio.h>

#include "vek_pal.h"

#define CAUSE_REGISTER 0x10

static vek_pal_sem_t interrupted;

/* On the handle's own thread: only what is quick. */
static void on_interrupt(int event) {
  (void)event;
  vek_pal_sem_post(interrupted);
}

int main(void) {
  const vek_pal_i2c_cfg_t controller = {1, 0, 0x2C, 0}; /* with interrupts, rate ignored, address, 7 bits */
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  if (vek_pal_sem_init(&interrupted, "ec_cause", 1, 0) != 0) return 1;
  vek_pal_i2c_handle_t *bus = vek_pal_i2c_open(&controller, on_interrupt);
  if (bus == NULL) return 1; /* no bus here, or another program has it open */
  puts("waiting");
  fflush(stdout);

  uint8_t which = CAUSE_REGISTER, cause = 0;
  int result = vek_pal_sem_wait(&interrupted, NULL);
  if (result == 0) result = vek_pal_i2c_writeBuff(bus, &which, 1);
  if (result == 0) result = vek_pal_i2c_readBuff(bus, &cause, 1);
  if (result == 0) printf("cause %u\n", cause);

  vek_pal_i2c_close(bus);
  vek_pal_sem_deinit(&interrupted);
  return result == 0 ? 0 : 1;
}
