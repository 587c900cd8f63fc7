// The network interface of the data call. What goes to the shell is fixed text: neither the modem nor a caller has a
// say.
#pragma once

#include <stdint.h>

namespace vek::pdp {

inline constexpr char kInterfaceName[] = "rmnet_data0";

// Looks up to 14 times, 5 s apart, whether the interface is up and carries an address of either family.
bool wait_for_interface();

// Default routes for the families of a `pdp_type`, and the MTU. False when the type is none.
bool set_up_routing(int32_t pdp_type);

}  // namespace vek::pdp
