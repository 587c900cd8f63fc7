/*
 * vyreld: a small but complete feature daemon.
 *
 * It shows on standard output what reaches it: the laptop's MBIM events, the SIM's events, the steps of the host-filter
 * handshake, and the service requests of the feature's AT commands, whose settings it keeps and gives back. The
 * commands that need no daemon's help (the main switch, the modes) the library answers by itself. Log records go to
 * standard error. It ends on SIGINT or SIGTERM.
 */
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>

#include "services.h"
#include "settings.h"
#include "show.h"
#include "vek_pal.h"

enum { COMMAND_ID = 0x5659 };

static void on_mbim_open(int status, void* user) {
  (void)user;
  show("MBIM open status %d", status);
  vek_pal_vyrel_mbim_status_sync();
}

static void on_mbim_pin(int status, const char* pin_code, void* user) {
  (void)user;
  show("MBIM PIN status %d, a PIN of %zu characters", status, strlen(pin_code)); /* a PIN stands in no output */
}

static void on_mbim_slot_mapping(int opt, int sim_id, void* user) {
  (void)user;
  show("MBIM slot mapping %d, SIM %d", opt, sim_id);
}

static void on_mbim_connect(int status, const char* apn, void* user) {
  (void)user;
  show("MBIM connect status %d, APN \"%s\"", status, apn);
}

static void on_sim_status(int slot, int status, int zero, void* user) {
  (void)zero;
  (void)user;
  show("SIM status %d, slot %d", status, slot);
}

static void on_hotplug(int event, void* user) {
  (void)user;
  show(event == VEK_PAL_SIM_PLUG_IN ? "SIM plug-in" : "SIM plug-out");
}

/* The modem may be down; the daemon serves without. With these a slot switch (AT+GTESIMICCID makes two) ends when it
 * has taken effect and not after its whole limit. */
static void follow_sim(void) {
  if (vek_pal_hotplug_status_indication_register(on_hotplug, NULL) != 0 ||
      vek_pal_sim_status_indication_register(on_sim_status, NULL) != 0)
    show("no SIM events");
}

static int start(void) {
  const vek_pal_at_registration commands = {"vyreld", COMMAND_ID, 0, serve_request};
  provide_settings();
  vek_pal_log_init(); /* without it records still go to standard error */
  if (vek_pal_ipc_server_init() != 0) return -1;
  if (vek_pal_at_register(&commands) != 0) return -1;
  if (vek_pal_mbim_open_status_indication_register(on_mbim_open, NULL) != 0) return -1;
  if (vek_pal_mbim_simpin_status_indication_register(on_mbim_pin, NULL) != 0) return -1;
  if (vek_pal_mbim_sim_slot_mapping_indication_register(on_mbim_slot_mapping, NULL) != 0) return -1;
  return vek_pal_mbim_connect_status_indication_register(on_mbim_connect, NULL);
}

int main(void) {
  /* Blocked in every thread, so that only the wait below takes them. */
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, NULL);

  if (start() != 0) {
    fputs("vyreld: cannot start; the records above say why\n", stderr);
    return 1;
  }
  follow_sim();
  show("running");
  vek_pal_vyrel_mbim_status_sync(); /* the MBIM function may not be up yet: its open event brings another */

  int received;
  sigwait(&stop, &received);
  show("stopping");
  vek_pal_log_close();
  return 0;
}
