#include <string.h>

#include "providers/qmi/qmi_client.h"

namespace {

// The data ports that this module's modem muxes over its embedded endpoint: rmnet_data0 is the first of eight.
constexpr char kInterface[] = "rmnet_data";
constexpr uint32_t kEmbeddedEndpoint = 4;
constexpr uint32_t kEndpointInterface = 1;

}  // namespace

int qmi_linux_get_conn_id_by_name_ex(const char* name, int* conn_id, uint32_t* ep_type, uint32_t* ep_id,
                                     uint32_t* mux_id) {
  constexpr size_t kPrefix = sizeof kInterface - 1;
  if (name == nullptr || conn_id == nullptr || ep_type == nullptr || ep_id == nullptr || mux_id == nullptr) return -1;
  if (strncmp(name, kInterface, kPrefix) != 0 || strlen(name) != kPrefix + 1) return -1;
  const int port = name[kPrefix] - '0';
  if (port < 0 || port > 7) return -1;
  *conn_id = port;
  *ep_type = kEmbeddedEndpoint;
  *ep_id = kEndpointInterface;
  *mux_id = static_cast<uint32_t>(port) + 1;
  return 0;
}
