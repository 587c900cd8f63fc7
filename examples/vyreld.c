/*
 * vyreld: a small but complete feature daemon.
 *
 * It shows on standard output what reaches it: the laptop's MBIM events, and the service requests of the feature's AT
 * commands, which it keeps and gives back. The commands that need no daemon's help (the main switch, the modes) the
 * library answers by itself. Log records go to standard error. It ends on SIGINT or SIGTERM.
 */
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "vek_pal.h"

enum { REQUESTS_MAX = 16, COMMAND_ID = 0x5659 };

/* Ids of settings (nvm.h). */
enum { DEVICE_MANAGER_SETTINGS = 112, SERVICE_AND_DIAGNOSIS_MODE = 114, FILE_LOGGING = 241 };

static const char* const service_names[] = {
    [VEK_VYREL_DEVICE_MANAGER] = "device manager",      [VEK_VYREL_BOOTSTRAP] = "bootstrap",
    [VEK_VYREL_CONNECT_MANAGER] = "connection manager", [VEK_VYREL_PC_CLIENT] = "PC client",
    [VEK_VYREL_ESIM_MANAGER] = "eSIM manager",          [VEK_VYREL_LOGGING_MANAGER] = "logging manager",
    [VEK_VYREL_RECOVERY_MANAGER] = "recovery manager",  [VEK_VYREL_EC_MANAGER] = "embedded-controller manager",
};
enum { SERVICES_MAX = sizeof(service_names) / sizeof(service_names[0]) };

/* What each request last set. Only the IPC thread comes here. */
static int32_t values[SERVICES_MAX][REQUESTS_MAX];

/* One line at a time, in full at once: whoever follows the output sees no halves. */
static void __attribute__((format(printf, 1, 2))) show(const char* format, ...) {
  va_list args;
  va_start(args, format);
  fputs("vyreld: ", stdout);
  vprintf(format, args);
  putchar('\n');
  fflush(stdout);
  va_end(args);
}

static int on_service_request(const void* request, uint32_t size) {
  vek_vyrel_service_request head;
  if (size < sizeof(head)) return -1;
  memcpy(&head, request, sizeof(head));
  if (head.service < 1 || head.service >= SERVICES_MAX || head.request < 0 || head.request >= REQUESTS_MAX) return -1;

  int32_t* value = &values[head.service][head.request];
  const int is_query = head.value == 0 && head.payload_length == 0;
  show("request %d to the %s: %s, value %d, %u more bytes", head.request, service_names[head.service],
       is_query ? "query" : "set", head.value, head.payload_length);
  if (!is_query) *value = head.value;

  char text[64];
  const int length = snprintf(text, sizeof(text), "%s %d: %d", service_names[head.service], head.request, *value);
  const vek_pal_at_result answer = {VEK_PAL_AT_SUCCESS, text, (uint32_t)length};
  vek_pal_at_resp(NULL, &answer);
  return 0;
}

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

/* The settings that the AT commands read and change. A module that has never run the feature has none of them. */
static void provide_settings(void) {
  static const struct {
    uint32_t id;
    uint32_t size;
  } settings[] = {
      {DEVICE_MANAGER_SETTINGS, sizeof(vek_vyrel_devmgr_settings)},
      {SERVICE_AND_DIAGNOSIS_MODE, sizeof(vek_vyrel_modes)},
      {FILE_LOGGING, 1},
  };
  uint8_t value[64] = {0};
  for (size_t i = 0; i < sizeof(settings) / sizeof(settings[0]); ++i) {
    if (vek_pal_nvm_read(settings[i].id, value, settings[i].size) == 0) continue;
    memset(value, 0, sizeof(value));
    if (vek_pal_nvm_write(settings[i].id, value, settings[i].size) != 0)
      show("cannot store setting %u", settings[i].id);
  }
}

static int start(void) {
  const vek_pal_at_registration commands = {"vyreld", COMMAND_ID, 0, on_service_request};
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
  show("running");
  vek_pal_vyrel_mbim_status_sync(); /* the MBIM function may not be up yet: its open event brings another */

  int received;
  sigwait(&stop, &received);
  show("stopping");
  vek_pal_log_close();
  return 0;
}
