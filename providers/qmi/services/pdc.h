// PDC, the modem's configuration: when a refresh of it begins and ends.
#pragma once

#include "providers/qmi/services/common.h"

enum : unsigned {
  QMI_PDC_INDICATION_REGISTER_REQ_V01 = 0x20,
  QMI_PDC_REFRESH_IND_V01 = 0x2F,
};

struct pdc_indication_register_req {
  uint8_t enable_reporting_valid;
  uint8_t enable_reporting;
  uint8_t enable_refresh_valid;
  uint8_t enable_refresh;
};

struct pdc_refresh_ind {
  uint32_t refresh_event;  // 0 start, 1 complete, 2 client refresh
  uint8_t subscription_id_valid;
  uint32_t subscription_id;
  uint8_t slot_id_valid;
  uint32_t slot_id;
};
static_assert(sizeof(pdc_refresh_ind) == 20);
