// WMS: the message stores and their events.
#include "providers/qmi/services/wms.h"

#include "modem/modem.h"

namespace simulated {

const Service wms_service = {0x05, "WMS", 1, 35, {}, wms_get_service_object_internal_v01(1, 0, 0)};

}  // namespace simulated
