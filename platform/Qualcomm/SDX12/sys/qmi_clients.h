// The clients that several areas share, opened at first use. A new one is a row and a ClientSlot.
#pragma once

#include <pthread.h>

#include <atomic>

#include "log/log.h"
#include "providers/qmi/qmi_client.h"
#include "vek_pal/qmi.h"

namespace vek::qmi {

// How a client is opened, and the words of its records.
struct ClientKind {
  log::Source source;        // whose tag the records carry
  const char* name;          // "DMS client inited success, handle ..."
  const char* lower_name;    // "... client already initialized. Handle ..."
  const char* service_name;  // "... not available."
  const char* failed_name;   // "Failed to init ... qmi client, error code: ..."
  const char* failed_end;
  const char* getter_name;  // "Fail to init ... client"
  const char* end;          // of the other records
  qmi_idl_service_object_type (*object)(int32_t major, int32_t minor, int32_t tool);
  qmi_client_ind_cb indication;
  uint32_t timeout_ms;
};

// A client of the process: opened once, never closed.
struct ClientSlot {
  const ClientKind* kind;
  pthread_mutex_t opening = PTHREAD_MUTEX_INITIALIZER;
  std::atomic<qmi_client_type> handle{nullptr};
  qmi_client_os_params os_params = {};
};

int init_client(ClientSlot& slot);
qmi_client_type get_client(ClientSlot& slot);

}  // namespace vek::qmi

// The NAS and WDS indications, which their areas handle.
void vek_pal_nas_qmi_ind_cb(qmi_client_type handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len,
                            void* ind_cb_data);
void vek_pal_wds_qmi_ind_cb(qmi_client_type handle, unsigned msg_id, void* ind_buf, unsigned ind_buf_len,
                            void* ind_cb_data);

// A second UIM client, for resetting a SIM: nobody else's indications come to it.
namespace vek::sim_reset {

int vek_pal_qmi_uim_client_init();  // 0 also when it is open already, or -1
qmi_client_type uim_client();       // nullptr before that

}  // namespace vek::sim_reset
