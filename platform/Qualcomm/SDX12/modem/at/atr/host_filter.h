// The handshake about the command filter on the MBIM path.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "vek_pal/at.h"

constexpr uint32_t kFilterUnknown = 255;

struct FilterState {
  uint32_t state;  // 1: the ready handshake has been made
  uint32_t value;  // what the agent reported last
};
extern FilterState vyrel_cbb_state;

struct FilterAction {
  uint32_t a, b, c;
  int (*action)(const FilterAction&);
  const char* agent_command;   // for the filter callback; null when the row needs no agent
  const char* answer_routine;  // its name in the records
};
extern const FilterAction ath_tables[];
extern const size_t ath_tables_size;
