// UIM: cards, slots, PINs and files.
#include "providers/qmi/services/uim.h"

#include "modem/modem.h"

namespace simulated {

const Service uim_service = {0x0B, "UIM", 1, 46, {}, uim_get_service_object_internal_v01(1, 0, 0)};

}  // namespace simulated
