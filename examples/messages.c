/* A daemon that takes messages with an id of its own, and asks the module's AT server who it is. `messages TEXT` sends
 * one. */
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "vek_pal.h"

#define SERVER "/data/vek_pal_ipc_server.sock"

enum { NOTE = 1000 };

static void on_note(int32_t msg_id, void* payload, int32_t length, void* user) {
  (void)msg_id;
  (void)user;
  printf("note: %.*s\n", length < 0 ? 0 : (int)length, (const char*)payload);
  fflush(stdout);
}

static int send_note(const char* text) {
  struct {
    int32_t id;
    char text[64];
  } note = {NOTE, ""};
  const int length = snprintf(note.text, sizeof note.text, "%s", text);
  if (length < 0 || (size_t)length >= sizeof note.text) return -1;
  return vek_pal_ipc_send_msg(SERVER, &note, (uint32_t)(sizeof note.id + (size_t)length), 0);
}

static int show_firmware(void) {
  static const char command[] = "AT+CGMR\r\n";
  char answer[256];
  uint32_t length = 0;
  if (vek_pal_at_send(command, sizeof command, answer, sizeof answer - 1, &length) != 0) return -1;
  answer[length] = '\0'; /* a full buffer has no terminator */
  printf("firmware: %.*s\n", (int)strcspn(answer + strspn(answer, "\r\n"), "\r\n"), answer + strspn(answer, "\r\n"));
  return strstr(answer, "OK") != NULL ? 0 : -1;
}

int main(int argc, char** argv) {
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  if (argc > 1) return send_note(argv[1]) == 0 ? 0 : 1;
  if (show_firmware() != 0) return 1;
  if (vek_pal_ipc_server_init() != 0 || vek_pal_ipc_msg_register_cmd(NOTE, on_note, NULL) != 0) return 1;
  printf("listening\n");
  fflush(stdout);
  for (;;) pause();
}
