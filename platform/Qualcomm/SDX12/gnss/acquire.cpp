// One fix: the caller polls the receiver and queues what it says, a worker reads it into the caller's record.
#include <pthread.h>
#include <string.h>
#include <sys/ipc.h>

#include <atomic>

#include "common/base/mutex_lock.h"
#include "gnss/queue.h"
#include "log/log.h"
#include "vek_pal/at_client.h"
#include "vek_pal/gnss.h"
#include "vek_pal/memory.h"
#include "vek_pal/thread.h"
#include "vek_pal/time.h"

namespace {

using namespace vek::gnss;

constexpr char kLogTag[] = "GNSS";
constexpr char kPowerOn[] = "AT+GTGPSPOWER=1\r\n";
constexpr char kPowerOff[] = "AT+GTGPSPOWER=0\r\n";
constexpr char kGetSentences[] = "AT+GTGPS?\r\n";
constexpr uint32_t kResponseSize = 2048;
constexpr unsigned kPowerOnPauseMs = 500;
constexpr unsigned kPollPauseMs = 3000;
constexpr unsigned kExitPauseMs = 1000;
constexpr unsigned kPowerOffPauseMs = 3000;

// A zero byte always stands behind the longest response.
using Response = char[kResponseSize + 1];

enum class Outcome { fix, time_up, polls_used_up };

// The hand-over, guarded by g_mutex; g_changed tells of every change. g_exit is also read, for a record, without it.
constinit std::atomic<int> g_exit = 0;
constinit bool g_response_queued = false;
constinit bool g_worker_exited = false;
constinit vek_pal_thread_t g_worker = nullptr;

// A caller that is cancelled would leave the receiver on, and the worker behind with a pointer to the caller's record.
class Uncancelled {
 public:
  Uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
  ~Uncancelled() { pthread_setcancelstate(state_, nullptr); }
  Uncancelled(const Uncancelled&) = delete;
  Uncancelled& operator=(const Uncancelled&) = delete;

 private:
  int state_ = 0;
};

int64_t now() {
  int64_t seconds = 0;
  vek_pal_getTimestamp(&seconds);
  return seconds;
}

bool send(const char* command, Response& response) {
  uint32_t length = 0;
  const auto size = static_cast<uint32_t>(strlen(command));
  if (vek_pal_at_send(command, size, response, kResponseSize, &length) == 0) return true;
  return FAIL(false, "Failed to send AT command: %s", command);
}

// One poll. True when the receiver's sentences are in the queue.
bool queue_sentences(Response& response) {
  memset(response, 0, sizeof response);
  uint32_t length = 0;
  const int result =
      vek_pal_at_send(kGetSentences, static_cast<uint32_t>(strlen(kGetSentences)), response, kResponseSize, &length);
  if (result != 0 || length == 0 || strstr(response, "ERROR") != nullptr)
    return FAIL(false, "Failed to get location AT response. Ret=%d, RLen=%d", result, static_cast<int>(length));
  LOG_I("AT response!!!:%d", static_cast<int>(length));

  char* sentences;
  int sentences_length;
  if (vek_pal_gnss_extract_nmea_data(response, static_cast<int>(length), &sentences, &sentences_length) != 0)
    return FAIL(false, "Failed to process AT response!!!");
  sentences[sentences_length] = '\0';
  LOG_I("process resp ok, will push to queue: %d", sentences_length);
  LOG_I("presp is :%s", sentences);
  // Never waits for room: the worker, which makes it, waits for the mutex that is held here.
  if (push(sentences, sentences_length + 1, IPC_NOWAIT) != 0)
    return FAIL(false, "Failed to push AT response to queue!!!");
  return true;
}

Outcome poll(unsigned duration, int64_t start, const vek_pal_gnss_location_t& location, Response& response) {
  for (unsigned polls = 0; polls < duration; polls++) {
    {
      const vek::MutexLock lock(g_mutex);
      if (location.IsValid == 0 && now() - start > static_cast<int64_t>(duration)) {
        LOG_E("Timeout: location data is invalid.");
        return Outcome::time_up;
      }
      if (location.IsValid == 1) {
        LOG_I("location is get succeed, will return.");
        return Outcome::fix;
      }
      if (queue_sentences(response)) {
        g_response_queued = true;
        pthread_cond_broadcast(&g_changed);
      }
    }
    vek_pal_thread_msleep(kPollPauseMs);
  }
  return Outcome::polls_used_up;
}

bool start_worker(vek_pal_gnss_location_t* location) {
  const vek::MutexLock lock(g_mutex);
  g_exit = 0;
  g_response_queued = false;
  g_worker_exited = false;
  location->IsValid = 0;  // a fix is one of this acquisition
  return vek_pal_thread_create(&g_worker, "LOC_THERA_QUERY", nullptr, vek_pal_gnss_recive_nmea_data, location) == 0;
}

void stop_worker() {
  {
    const vek::MutexLock lock(g_mutex);
    g_exit = 1;
    pthread_cond_broadcast(&g_changed);
  }
  vek_pal_thread_msleep(kExitPauseMs);
  {
    const vek::MutexLock lock(g_mutex);
    while (!g_worker_exited) pthread_cond_wait(&g_changed, &g_mutex);
    LOG_I("thread is exited, will delete queue!");
  }
  vek_pal_thread_delete(&g_worker);
}

// The worker's side. Never waits for a message: another process may have taken it, and the mutex is held.
void read_sentences(vek_pal_gnss_location_t* location) {
  char* message = nullptr;
  if (pop(&message, kTextMax, nullptr, IPC_NOWAIT) != 0) return LOG_E("Failed to pop message from queue.");
  LOG_I("get gnss msg: %s.", message + kHeaderSize);
  vek_pal_parse_gnss_nmea_data(message + kHeaderSize, location);
  if (location->IsValid != 0) {
    LOG_I("GNSS data is valid. Latitude: %f, Longitude: %f", static_cast<double>(location->Latitude),
          static_cast<double>(location->Longitude));
    if (int64_t seconds; vek_pal_getTimestamp(&seconds) == 0) location->Timestamp = static_cast<uint64_t>(seconds);
  } else {
    LOG_I("GNSS data is invalid.");
  }
  LOG_I("GNSS data parse finished.");
  vek_pal_free(message);
}

}  // namespace

int vek_pal_gnss_info_acquire(unsigned int acquisition_duration, vek_pal_gnss_location_t* location_data) {
  LOG_I("Enter %s, acquisition_duration=%u", __func__, acquisition_duration);
  if (acquisition_duration == 0 || location_data == nullptr)
    return FAIL(-1, "Invalid parameter: duration=%u, location_data=%p", acquisition_duration,
                static_cast<void*>(location_data));

  const Uncancelled uncancelled;
  Response response{};
  if (!send(kPowerOn, response)) return -1;
  vek_pal_thread_msleep(kPowerOnPauseMs);
  const int64_t start = now();

  if (g_msg_id != -1)
    LOG_I("g-msg-id is:%d.", g_msg_id);
  else if (vek_pal_queue_init() != 0)
    return FAIL(-1, "GNSS Mesg queue creation failed.");
  if (!start_worker(location_data)) return FAIL(-1, "GNSS thread creation failed.");

  const Outcome outcome = poll(acquisition_duration, start, *location_data, response);
  stop_worker();

  if (outcome == Outcome::fix) {
    // A receiver that stays on keeps its queue: the next acquisition goes on with both.
    if (!send(kPowerOff, response)) return -1;
    vek_pal_thread_msleep(kPowerOffPauseMs);
    LOG_I("vek_pal_gnss_info_acquire done");
    vek_pal_queue_deinit();
    return 0;
  }
  vek_pal_queue_deinit();
  if (send(kPowerOff, response) && outcome == Outcome::polls_used_up)
    LOG_E("GNSS acquisition failed: timeout loop ended.");
  return -1;
}

void* vek_pal_gnss_recive_nmea_data(void* location_data) {
  LOG_I("GNSS receive thread started is exit %d.", g_exit.load());
  if (location_data == nullptr) return FAIL(nullptr, "para data is NULL");

  const vek::MutexLock lock(g_mutex);
  while (g_exit == 0) {
    LOG_I("GNSS data recive thread will lock, and wait signal wakeup!");
    while (g_exit == 0 && !g_response_queued) pthread_cond_wait(&g_changed, &g_mutex);
    if (g_exit != 0) {
      LOG_I("recived exit thread signal,will return.");
      break;
    }
    LOG_I("GNSS data recive thread  locked, and signal wakeuped!!!");
    g_response_queued = false;
    // A process that died may have left messages in front: all are read, and the newest counts.
    for (unsigned left = waiting(); left > 0; left--)
      read_sentences(static_cast<vek_pal_gnss_location_t*>(location_data));
  }
  LOG_I("GNSS receive thread exited.");
  g_worker_exited = true;
  pthread_cond_broadcast(&g_changed);
  return nullptr;
}
