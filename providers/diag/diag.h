// The diagnostic channel, where every record's text ends. The build links exactly one provider. It takes calls from any
// thread, does not keep `site` or `text`, and never logs: the log calls it with its mutex held.
#pragma once

#include <stdint.h>

struct diag_site {
  uint32_t subsystem_and_line;  // subsystem 65 above, the line of the call below
  uint32_t mask;
  const char* format;  // "%s": the text is always the one argument
  const char* file;
};

extern "C" int Diag_LSM_Init(void* reserved);
extern "C" int msg_sprintf(const diag_site* site, const char* text);
