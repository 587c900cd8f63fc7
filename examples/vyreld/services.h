/* The services behind the feature's AT commands. */
#ifndef VYRELD_SERVICES_H
#define VYRELD_SERVICES_H

#include <stdint.h>

/* Answers one service request: stores what it sets, or shows what it asks for. -1 refuses it. */
int serve_request(const void* request, uint32_t size);

#endif
