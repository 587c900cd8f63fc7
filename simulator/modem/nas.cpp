// NAS: registration, signal and the serving cell.
#include "providers/qmi/services/nas.h"

#include "modem/modem.h"

namespace simulated {

const Service nas_service = {0x03, "NAS", 1, 25, {}, nas_get_service_object_internal_v01(1, 0, 0)};

}  // namespace simulated
