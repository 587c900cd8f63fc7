/*
 * online: keeps the module on the internet. It brings a data call up, says how it can be reached, and starts over when
 * the network ends it.
 *
 * The library calls back on its own thread, which must not wait for the modem: the callback only wakes the main thread.
 */
#include <semaphore.h>
#include <stdio.h>
#include <unistd.h>

#include "vek_pal.h"

static void on_drop(void* user) { sem_post(user); }

static void print_addresses(const vek_pal_data_conn_info* info) {
  char text[64];
  if (info->ipv4_address != 0 && vek_pal_covert_ip_to_str(info->ipv4_address, text, sizeof text) == 0)
    printf("%s has %s\n", info->interface_name, text);
  if (info->ipv6_prefix_length != 0 && vek_pal_covert_ipv6_to_str(info->ipv6_address, text, sizeof text) == 0)
    printf("%s has %s\n", info->interface_name, text);
  fflush(stdout);
}

int main(int argc, char** argv) {
  static sem_t drops;
  if (argc != 2 || sem_init(&drops, 0, 0) != 0) return 2;
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);

  vek_pal_data_conn_request request = {.pdp_type = VEK_PAL_PDP_IPV4V6};
  snprintf(request.apn_name, sizeof request.apn_name, "%s", argv[1]);
  if (vek_pal_data_connection_deactivated_regisetr(on_drop, &drops) != 0) return 1;

  for (unsigned pause = 1;; pause = pause < 60 ? 2 * pause : 60) {
    vek_pal_data_conn_info info;
    while (sem_trywait(&drops) == 0) continue; /* each family of the last call was one */
    if (vek_pal_data_conn_sync(&request, &info) == 0) {
      pause = 1;
      print_addresses(&info);
      sem_wait(&drops);
      puts("the network has ended the call");
      fflush(stdout);
    }
    vek_pal_data_conn_release(&info); /* the other family, or what came up of a call that failed */
    sleep(pause);
  }
}
