// A request to the modem and its answer, through the proxy's address: the radio's operating mode.
#include <libqmi-glib/libqmi-glib.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "qmi_modem.h"
#include "row.h"
#include "vek_pal.h"

namespace {

constexpr int kTimeoutS = 5;

void ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  bench::QmiModem::start();
  int radio = 0;
  if (vek_pal_get_radio_state(&radio) != 0) return state.SkipWithError("no client");
  for (auto _ : state)
    if (vek_pal_get_radio_state(&radio) != 0 || radio != 1) return state.SkipWithError("no answer");
}

void floor(benchmark::State& state) {
  bench::QmiModem::start();
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = bench::qmi_proxy_address();
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), bench::kQmiProxyAddressSize) != 0) abort();
  uint8_t request[] = {0x01, 12, 0, 0x00, 0x02, bench::kQmiClientId, 0, 0, 0, 0x2D, 0, 0, 0};
  for (auto _ : state) {
    if (++request[7] == 0) ++request[8];
    uint8_t answer[512];
    if (send(fd, request, sizeof request, MSG_NOSIGNAL) < 0) return state.SkipWithError("no modem");
    pollfd ready = {fd, POLLIN, 0};
    if (poll(&ready, 1, kTimeoutS * 1000) != 1 || recv(fd, answer, sizeof answer, 0) != 24 ||
        memcmp(answer + 7, request + 7, 4) != 0 || answer[23] != bench::kQmiMode)
      return state.SkipWithError("no answer");
  }
  close(fd);
}

// libqmi-glib as its users use it: asynchronous, with a main loop that runs until the answer is there.
class LibqmiClient {
 public:
  LibqmiClient() {
    GFile* const file = g_file_new_for_path("/dev/null");  // the modem does not look at it
    g_async_initable_new_async(QMI_TYPE_DEVICE, G_PRIORITY_DEFAULT, nullptr, keep, this, QMI_DEVICE_FILE, file,
                               QMI_DEVICE_NO_FILE_CHECK, TRUE, nullptr);
    g_object_unref(file);
    device_ = qmi_device_new_finish(result(), nullptr);
    qmi_device_open(device_, QMI_DEVICE_OPEN_FLAGS_PROXY, kTimeoutS, nullptr, keep, this);
    if (!qmi_device_open_finish(device_, result(), nullptr)) abort();
    qmi_device_allocate_client(device_, QMI_SERVICE_DMS, QMI_CID_NONE, kTimeoutS, nullptr, keep, this);
    client_ = QMI_CLIENT_DMS(qmi_device_allocate_client_finish(device_, result(), nullptr));
    if (client_ == nullptr) abort();
  }

  bool is_online() {
    qmi_client_dms_get_operating_mode(client_, nullptr, kTimeoutS, nullptr, keep, this);
    auto* const answer = qmi_client_dms_get_operating_mode_finish(client_, result(), nullptr);
    QmiDmsOperatingMode mode = QMI_DMS_OPERATING_MODE_UNKNOWN;
    const bool answered = answer != nullptr && qmi_message_dms_get_operating_mode_output_get_result(answer, nullptr) &&
                          qmi_message_dms_get_operating_mode_output_get_mode(answer, &mode, nullptr);
    if (answer != nullptr) qmi_message_dms_get_operating_mode_output_unref(answer);
    return answered && mode == QMI_DMS_OPERATING_MODE_ONLINE;
  }

 private:
  static void keep(GObject*, GAsyncResult* result, gpointer self) {
    auto* const client = static_cast<LibqmiClient*>(self);
    if (client->result_ != nullptr) g_object_unref(client->result_);
    client->result_ = result;
    g_object_ref(result);
    g_main_loop_quit(client->loop_);
  }
  GAsyncResult* result() {
    g_main_loop_run(loop_);
    return result_;
  }

  GMainLoop* const loop_ = g_main_loop_new(nullptr, FALSE);
  GAsyncResult* result_ = nullptr;  // of the latest operation
  QmiDevice* device_ = nullptr;
  QmiClientDms* client_ = nullptr;
};

void libqmi(benchmark::State& state) {
  bench::QmiModem::start();
  static LibqmiClient& client = *new LibqmiClient;  // for good: a daemon's is open as long as it runs
  for (auto _ : state)
    if (!client.is_online()) return state.SkipWithError("no answer");
}

// CPU time is that of all the client's threads.
[[maybe_unused]] const bool registered = bench::row("qmi_request/ours", ours)->MeasureProcessCPUTime() &&
                                         bench::row("qmi_request/floor", floor)->MeasureProcessCPUTime() &&
                                         bench::row("qmi_request/peer:libqmi", libqmi)->MeasureProcessCPUTime();

}  // namespace
