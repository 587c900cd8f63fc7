// The one thread of the provider: it reads when nobody waits, calls the indication callbacks, and brings the clients
// back after the modem or its connection went away.
#include <errno.h>
#include <signal.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>

#include "log/log.h"
#include "providers/qmi/client/session.h"
#include "vek_pal/memory.h"

namespace vek::qmi {
namespace {

constexpr char kLogTag[] = "QMI";
constexpr Milliseconds kFirstPauseMs = 100;
constexpr Milliseconds kLongestPauseMs = 5000;
constexpr Milliseconds kRecoveryTimeoutMs = 5000;
constexpr unsigned kIndicationsMax = 64;  // waiting for a callback that does not return

uint32_t hash(const Frame& frame) {  // FNV-1a
  uint32_t value = 2166136261u ^ frame.header.service ^ static_cast<uint32_t>(frame.header.message_id << 8);
  for (const uint8_t byte : frame.tlvs) value = (value ^ byte) * 16777619u;
  return value;
}

// The proxy hands a broadcast on once for each client id of its service, all of which are ours: one of them counts.
bool is_copy_of_broadcast(const Frame& frame) {
  Session& s = g_session;
  if (!s.through_proxy) return false;
  const uint32_t value = hash(frame);
  if (s.broadcast_copies != 0 && s.broadcast_hash == value) {
    s.broadcast_copies--;
    return true;
  }
  s.broadcast_hash = value;
  s.broadcast_copies = 0;
  for (const qmi_client_struct& client : s.clients)
    if (client.service != nullptr && client.service->number == frame.header.service) s.broadcast_copies++;
  if (s.broadcast_copies != 0) s.broadcast_copies--;
  return false;
}

void append(qmi_client_type client, const Frame& frame) {
  Session& s = g_session;
  if (s.indications == kIndicationsMax)
    return LOG_W("indication 0x%x dropped: callbacks are too slow", frame.header.message_id);
  const auto size = static_cast<unsigned>(sizeof(Indication) + frame.tlvs.size());
  const auto indication = static_cast<Indication*>(vek_pal_malloc(size));
  if (indication == nullptr) return;
  indication->next = nullptr;
  indication->client = client;
  indication->message_id = frame.header.message_id;
  indication->size = static_cast<uint16_t>(frame.tlvs.size());
  if (!frame.tlvs.empty()) memcpy(indication->tlvs, frame.tlvs.data(), frame.tlvs.size());
  (s.first_indication == nullptr ? s.first_indication : s.last_indication->next) = indication;
  s.last_indication = indication;
  s.indications++;
}

void call_indication_callbacks() {
  Session& s = g_session;
  while (Indication* const indication = s.first_indication) {
    s.first_indication = indication->next;
    s.indications--;
    const qmi_client_struct client = *indication->client;  // a copy: the callback may release it
    pthread_mutex_unlock(&s.mutex);
    client.ind_cb(indication->client, indication->message_id, indication->tlvs, indication->size, client.ind_cb_data);
    vek_pal_free(indication);
    pthread_mutex_lock(&s.mutex);
  }
}

bool anything_to_recover() {
  if (g_session.state == Session::State::closed) return false;
  return std::any_of(std::begin(g_session.clients), std::end(g_session.clients),
                     [](const qmi_client_struct& client) { return client.service != nullptr && client.recovering; });
}

// Gives each client that lost its id a new one and has its owner send again what the modem was told before.
bool recover_clients() {
  Session& s = g_session;
  bool all = true;
  for (qmi_client_struct& client : s.clients) {
    if (client.service == nullptr || !client.recovering) continue;
    if (!ensure_client_id(client, now_ms() + kRecoveryTimeoutMs)) {
      all = false;
      if (s.state != Session::State::up) break;
      continue;
    }
    client.recovering = false;  // before the callback, for the modem may go away again in the middle of it
    LOG_I("client of service %u works again", client.service->number);
    if (client.recovery_cb == nullptr) continue;
    const qmi_client_recovery_cb callback = client.recovery_cb;
    void* const data = client.recovery_cb_data;
    pthread_mutex_unlock(&s.mutex);
    const bool sent = callback(&client, data) == 0;
    pthread_mutex_lock(&s.mutex);
    if (!sent && client.service != nullptr) client.recovering = true;
    all = all && sent;
  }
  return all;
}

void* receive(void*) {
  Session& s = g_session;
  Milliseconds pause = kFirstPauseMs;
  Milliseconds next_try = 0;
  const MutexLock lock(s.mutex);
  for (;;) {
    call_indication_callbacks();

    int timeout = -1;
    if (anything_to_recover()) {
      if (now_ms() >= next_try) {
        pause = recover_clients() ? kFirstPauseMs : std::min(2 * pause, kLongestPauseMs);
        next_try = now_ms() + pause;
        hand_over();  // a connection on which nobody had to ask anything is not being read yet
        continue;
      }
      timeout = static_cast<int>(next_try - now_ms() + 1);
    }

    if (s.unfinished_since != 0 && !s.reading && s.link.is_open()) {
      const auto left = static_cast<int>(s.unfinished_since + kUnfinishedFrameMs - now_ms());
      if (left <= 0) {
        read_once(now_ms());
        hand_over();
        continue;
      }
      timeout = timeout < 0 ? left : std::min(timeout, left);
    }

    epoll_event events[2];
    pthread_mutex_unlock(&s.mutex);
    const int count = epoll_wait(s.epoll, events, 2, std::max(timeout, -1));
    pthread_mutex_lock(&s.mutex);
    for (int i = 0; i < count; i++) {
      if (events[i].data.fd == s.event) {
        uint64_t ignored;
        if (::read(s.event, &ignored, sizeof ignored) < 0) continue;  // only to reset it
      } else if (!s.reading && s.armed && events[i].data.fd == s.link.fd()) {
        s.armed = false;  // one-shot
        read_once(now_ms() + 10);
        hand_over();
      }
    }
  }
}

}  // namespace

bool start_receive_thread() {
  Session& s = g_session;
  if (s.started) return true;
  UniqueFd epoll(epoll_create1(EPOLL_CLOEXEC));
  UniqueFd event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  epoll_event wake_up = {};
  wake_up.events = EPOLLIN;
  wake_up.data.fd = event.get();
  if (!epoll || !event || epoll_ctl(epoll.get(), EPOLL_CTL_ADD, event.get(), &wake_up) != 0)
    return FAIL(false, "receive thread failed cause: %d %s", errno, strerror(errno));
  s.epoll = epoll.get();
  s.event = event.get();

  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_init(&s.changed, &attributes);
  pthread_condattr_destroy(&attributes);

  // The daemon's signals are its own business: they do not land on this thread.
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_t thread;
  const int failed = pthread_create(&thread, nullptr, receive, nullptr);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (failed != 0) return FAIL(false, "receive thread failed cause: %d %s", failed, strerror(failed));
  pthread_detach(thread);

  epoll.release();
  event.release();
  s.process = getpid();
  s.started = true;
  return true;
}

void wake_receive_thread() {
  const uint64_t one = 1;
  // Full means that it is on its way already.
  if (g_session.started && ::write(g_session.event, &one, sizeof one) < 0) return;
}

void deliver_later(const Frame& frame) {
  Session& s = g_session;
  const bool broadcast = frame.header.client_id == kBroadcastClient;
  if (broadcast && is_copy_of_broadcast(frame)) return;
  for (qmi_client_struct& client : s.clients) {
    if (client.service == nullptr || client.ind_cb == nullptr || client.service->number != frame.header.service)
      continue;
    if (broadcast || client.client_id == frame.header.client_id) append(&client, frame);
  }
  wake_receive_thread();
}

void drop_indications(qmi_client_type client) {
  Session& s = g_session;
  Indication** link = &s.first_indication;
  s.last_indication = nullptr;
  while (Indication* const indication = *link) {
    if (indication->client == client) {
      *link = indication->next;
      s.indications--;
      vek_pal_free(indication);
    } else {
      s.last_indication = indication;
      link = &indication->next;
    }
  }
}

}  // namespace vek::qmi
