/* at_arguments '3,"internet.example"': reads a number and a text as a command of one's own would. */
#include <stdio.h>

#include "vek_pal.h"

int main(int argc, char **argv) {
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  ATCmdParams *arguments;
  if (argc != 2 || !ATCmdParams_CreateFromStr(argv[1], 2, &arguments, NULL)) return 1;
  uint16_t number;
  char name[64];
  const int good = ATCmdParams_GetUINT16(arguments, 0, 1, &number) &&
                   ATCmdParams_GetString(arguments, 1, 0, sizeof(name), name); /* may be left out: then it is empty */
  ATCmdParams_Destroy(arguments);
  if (good) printf("%d \"%s\"\n", number, name);
  return good ? 0 : 1;
}
