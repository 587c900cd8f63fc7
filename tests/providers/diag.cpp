// Stands in for the platform's diagnostic library: records go to standard output, with a mark.
#include "providers/diag/diag.h"

#include <stdio.h>

int Diag_LSM_Init(void*) { return 1; }
int msg_sprintf(const diag_site*, const char* text) { return printf("platform diag: %s", text); }
