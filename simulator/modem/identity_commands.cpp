// The AT commands that say who the module is: the standard ones, and two that only this module has.
#include <fmt/format.h>

#include "at_server/standard_commands.h"
#include "modem/install.h"

namespace simulated {

void add_identity_commands(AtCommands& commands, Modem& modem) {
  const Identity& identity = modem.state.identity;
  add_standard_commands(commands, [&identity] {
    return AtIdentity{.model = identity.model, .revision = identity.firmware, .imei = identity.imei};
  });
  commands.add("+CFSN", [&identity](const AtRequest& request) {
    if (request.form != AtForm::execute) return AtAnswer::error();
    return AtAnswer::ok({fmt::format("+CFSN: \"{}\"", identity.serial_number)});
  });
  commands.add("+GTOEMUSBID", [&identity](const AtRequest& request) {
    if (request.form != AtForm::read) return AtAnswer::error();
    return AtAnswer::ok({fmt::format("+GTOEMUSBID:{}", identity.usb_ids)});
  });
}

}  // namespace simulated
