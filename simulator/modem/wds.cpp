// WDS: profiles, sessions and their addresses.
#include "providers/qmi/services/wds.h"

#include "modem/modem.h"

namespace simulated {

const Service wds_service = {0x01, "WDS", 1, 67, {}, wds_get_service_object_internal_v01(1, 0, 0)};

}  // namespace simulated
