/* A daemon with one service behind the feature's AT commands: AT+GTVYREC=6 answers how often it was asked. */
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "vek_pal.h"

static int on_request(const void *request, uint32_t size) {
  vek_vyrel_service_request head;
  if (size < sizeof(head)) return -1;
  memcpy(&head, request, sizeof(head)); /* the request need not be aligned */
  if (head.service != VEK_VYREL_EC_MANAGER || head.request != vek_vyrel_ec_manager_read_hostec_cmd_req)
    return -1; /* refused: the library answers ERROR */

  static int times;
  char text[32];
  const int length = snprintf(text, sizeof(text), "+GTVYREC: %d", ++times);
  const vek_pal_at_result answer = {VEK_PAL_AT_SUCCESS, text, (uint32_t)length};
  vek_pal_at_resp(NULL, &answer); /* now, or later from any thread, but once */
  return 0;
}

int main(void) {
  const vek_pal_at_registration service = {"at_service", 1, 0, on_request};
  if (vek_pal_ipc_server_init() != 0 || vek_pal_at_register(&service) != 0) return 1;
  for (;;) pause();
}
