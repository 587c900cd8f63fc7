#include "modem/net/registration_state.h"

#include "log/log.h"
#include "vek_pal/net.h"

namespace vek::net {

namespace {

constexpr char kLogTag[] = "NET";

std::optional<int> registered_state(uint32_t ps_attach_state, const uint8_t* roaming_indicator) {
  if (ps_attach_state == NAS_DETACHED_V01) return VEK_PAL_NET_DETACHED;
  const bool attached = ps_attach_state == NAS_ATTACHED_V01;
  if (!attached) LOG_E("unknow ps statue:%d", static_cast<int>(ps_attach_state));
  if (roaming_indicator != nullptr && *roaming_indicator == NAS_ROAMING_IND_ON_V01) return VEK_PAL_NET_ROAMING;
  return attached ? std::optional<int>(VEK_PAL_NET_HOME) : std::nullopt;
}

}  // namespace

std::optional<int> registration_state(const nas_serving_system& system, const uint8_t* roaming_indicator) {
  switch (system.registration_state) {
    case NAS_REGISTERED_V01:
      return registered_state(system.ps_attach_state, roaming_indicator);
    case NAS_NOT_REGISTERED_SEARCHING_V01:
      LOG_I(" registration state: NAS_NOT_REGISTERED_SEARCHING");
      return VEK_PAL_NET_SEARCHING;
    case NAS_NOT_REGISTERED_V01:
      return VEK_PAL_NET_SEARCHING;
    case NAS_REGISTRATION_DENIED_V01:
      return VEK_PAL_NET_DENIED;
    default:
      LOG_E(" registration state: NAS_REGISTRATION_UNKNOWN");
      return std::nullopt;
  }
}

}  // namespace vek::net
