// CTL: which services there are, and client ids.
#include "providers/qmi/services/ctl.h"

#include "modem/modem.h"

namespace simulated {
namespace {

void get_version_info(Modem&, const Request&, Response& response) {
  ctl_get_version_info_resp resp{};
  for (const Service* service : services())
    resp.services[resp.services_len++] = {service->number, service->major, service->minor};
  response.record(resp);
}

void allocate_cid(Modem& modem, const Request& request, Response& response) {
  const auto wanted = request.record<ctl_allocate_cid_req>();
  const Service* service = find_service(wanted.service);
  if (service == nullptr || service == &ctl_service) throw Refused(QMI_ERR_INVALID_SERVICE_TYPE_V01);
  const Client* client = modem.allocate(*service, request.link);
  if (client == nullptr) throw Refused(QMI_ERR_CLIENT_IDS_EXHAUSTED_V01);
  response.record(ctl_allocate_cid_resp{.resp = {}, .allocation = {client->service, client->id}});
}

void release_cid(Modem& modem, const Request& request, Response& response) {
  const auto given = request.record<ctl_release_cid_req>();
  if (!modem.release(given.release.service, given.release.cid)) throw Refused(QMI_ERR_INVALID_CLIENT_ID_V01);
  response.record(ctl_release_cid_resp{.resp = {}, .release = given.release});
}

void set_data_format(Modem&, const Request& request, Response& response) {
  const auto wanted = request.record<ctl_set_data_format_req>();
  ctl_set_data_format_resp resp{};
  resp.protocol_valid = wanted.protocol_valid;
  resp.protocol = wanted.protocol;
  response.record(resp);
}

void sync(Modem& modem, const Request&, Response&) { modem.release_all(); }

constexpr Handler kHandlers[] = {
    {QMI_CTL_GET_VERSION_INFO, get_version_info},
    {QMI_CTL_ALLOCATE_CID, allocate_cid},
    {QMI_CTL_RELEASE_CID, release_cid},
    {QMI_CTL_SET_DATA_FORMAT, set_data_format},
    {QMI_CTL_SYNC, sync},
};

}  // namespace

const Service ctl_service = {vek::qmi::kCtlService, "CTL", 1, 5, kHandlers, ctl_get_service_object()};

}  // namespace simulated
