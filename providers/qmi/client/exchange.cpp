#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/epoll.h>

#include <algorithm>
#include <limits>

#include "providers/qmi/client/session.h"
#include "providers/qmi/codec/codec.h"
#include "providers/qmi/services/ctl.h"

namespace vek::qmi {
namespace {

timespec to_timespec(Milliseconds at) {
  timespec time;
  time.tv_sec = static_cast<time_t>(at / 1000);
  time.tv_nsec = static_cast<long>(at % 1000) * 1'000'000;
  return time;
}

// Without the mutex, which `reading` stands in for: nobody closes the descriptor meanwhile.
bool wait_for(int fd, short events, Milliseconds deadline) {
  const Milliseconds left = deadline - now_ms();
  if (left <= 0) return false;
  pollfd ready = {fd, events, 0};
  return poll(&ready, 1, static_cast<int>(std::min<Milliseconds>(left, std::numeric_limits<int>::max()))) > 0;
}

// Whether the receive thread's epoll sees the connection. One-shot, for it would report a hang-up even unasked.
void arm(bool on) {
  Session& s = g_session;
  if (s.armed == on || !s.link.is_open()) return;
  epoll_event event = {};
  event.events = EPOLLONESHOT | (on ? uint32_t{EPOLLIN} : 0);
  event.data.fd = s.link.fd();
  epoll_ctl(s.epoll, EPOLL_CTL_MOD, s.link.fd(), &event);
  s.armed = on;
}

void take_response(const Frame& frame) {
  const FrameHeader& got = frame.header;
  for (Waiter* waiter = g_session.waiters; waiter != nullptr; waiter = waiter->next) {
    const FrameHeader& expected = waiter->expected;
    if (waiter->done || got.transaction != expected.transaction || got.message_id != expected.message_id ||
        got.client_id != expected.client_id || got.service != expected.service)
      continue;
    const Decoded decoded = decode(*waiter->response, frame.tlvs, waiter->record, waiter->record_size);
    finish(*waiter, decoded == Decoded::ok ? QMI_NO_ERR : QMI_DECODE_MISMATCH);
    return;
  }
  // Nobody waits any more: the answer is late, and dropped.
}

void take_frame(std::span<const uint8_t> bytes) {
  const std::optional<Frame> frame = parse_frame(bytes);
  if (!frame) return;
  if (frame->header.type == MessageType::response) take_response(*frame);
  if (frame->header.type != MessageType::indication) return;
  if (frame->header.service != kCtlService)
    deliver_later(*frame);
  else if (frame->header.message_id == QMI_CTL_SYNC)
    connection_lost();
}

// Sends what `outgoing()` holds. The mutex is let go while the peer takes no more; `broken` may then also mean that the
// connection is another one by now.
Link::Progress flush(Milliseconds deadline) {
  Session& s = g_session;
  for (;;) {
    const Link::Progress progress = s.link.is_open() && !s.lost ? s.link.flush() : Link::Progress::broken;
    if (progress == Link::Progress::broken) connection_lost();
    if (progress != Link::Progress::would_block) return progress;
    const Milliseconds now = now_ms();
    if (now >= deadline) return progress;
    // The peer may take no more until what it has sent is read.
    if (!s.reading) arm(true);
    const unsigned connection = s.connection;
    const int fd = s.link.fd();
    pthread_mutex_unlock(&s.mutex);
    // Only a reader keeps the descriptor from being closed meanwhile; hence the short wait, and the look at what is
    // there now.
    wait_for(fd, POLLOUT, std::min(deadline, now + 100));
    pthread_mutex_lock(&s.mutex);
    if (s.connection != connection) return Link::Progress::broken;
  }
}

void await(Waiter& waiter, Milliseconds deadline) {
  Session& s = g_session;
  pthread_cond_t wake;
  while (!waiter.done) {
    if (!s.reading) {
      read_once(deadline);
    } else {
      if (waiter.wake == nullptr) {
        pthread_condattr_t attributes;
        pthread_condattr_init(&attributes);
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        pthread_cond_init(&wake, &attributes);
        pthread_condattr_destroy(&attributes);
        waiter.wake = &wake;
      }
      const timespec until = to_timespec(deadline);
      waiter.asleep = true;
      pthread_cond_timedwait(&wake, &s.mutex, &until);
      waiter.asleep = false;
    }
    if (!waiter.done && now_ms() >= deadline) finish(waiter, QMI_TIMEOUT_ERR);
  }
  if (waiter.wake != nullptr) pthread_cond_destroy(&wake);
}

}  // namespace

void finish(Waiter& waiter, qmi_client_error_type outcome) {
  if (waiter.done) return;
  waiter.outcome = outcome;
  waiter.done = true;
  if (waiter.asleep) pthread_cond_signal(waiter.wake);
}

bool wait_for_change(Milliseconds deadline) {
  const timespec until = to_timespec(deadline);
  return pthread_cond_timedwait(&g_session.changed, &g_session.mutex, &until) == 0;
}

void read_once(Milliseconds deadline) {
  Session& s = g_session;
  const int fd = s.link.fd();
  arm(false);
  s.reading = true;
  if (s.unfinished_since != 0) deadline = std::min(deadline, s.unfinished_since + kUnfinishedFrameMs);
  pthread_mutex_unlock(&s.mutex);
  Link::Progress progress = Link::Progress::would_block;
  if (wait_for(fd, POLLIN, deadline)) progress = s.link.receive();
  pthread_mutex_lock(&s.mutex);
  s.reading = false;

  if (progress == Link::Progress::broken) connection_lost();
  bool no_frames = false;
  while (!s.lost && s.link.has_unfinished_frame()) {
    const std::span<const uint8_t> frame = s.link.next_frame(no_frames);
    if (frame.empty()) break;
    s.unfinished_since = 0;
    take_frame(frame);
  }
  if (!s.link.has_unfinished_frame())
    s.unfinished_since = 0;
  else if (s.unfinished_since == 0)
    s.unfinished_since = now_ms();
  else if (now_ms() >= s.unfinished_since + kUnfinishedFrameMs)
    no_frames = true;
  if (no_frames) connection_lost(/*void_ids=*/false);
  close_when_unused();
}

void hand_over() {
  Session& s = g_session;
  if (s.reading) return;
  close_when_unused();  // a connection that turned out to be lost when this thread sent; nobody else would look
  for (Waiter* waiter = s.waiters; waiter != nullptr; waiter = waiter->next) {
    if (waiter->done || !waiter->asleep) continue;
    pthread_cond_signal(waiter->wake);
    return;
  }
  arm(true);
  if (s.unfinished_since != 0) wake_receive_thread();
}

qmi_client_error_type exchange(const FrameHeader& header, const Message& request, const void* record,
                               size_t record_size, const Message& response, void* answer, size_t answer_size,
                               Milliseconds deadline) {
  Session& s = g_session;
  // The rest of a frame that another thread could not send in time goes first.
  Link::Progress progress = flush(deadline);
  if (progress == Link::Progress::done) {
    const size_t head = frame_header_size(header.service);
    const std::span<uint8_t> out = s.link.outgoing();
    const std::optional<size_t> size = encode(request, record, record_size, out.subspan(head));
    if (!size) return QMI_ENCODE_MISMATCH;
    s.link.send(write_frame_header(out.data(), header, Sender::client, *size));
  }
  Waiter waiter{header, &response, answer, answer_size};
  if (progress == Link::Progress::done) {
    waiter.next = s.waiters;
    s.waiters = &waiter;
    // Before the answer can come: it is this thread's, and would only wake the receive thread.
    arm(false);
    progress = flush(deadline);
    if (progress == Link::Progress::done) await(waiter, deadline);
    Waiter** link = &s.waiters;
    while (*link != &waiter) link = &(*link)->next;
    *link = waiter.next;
  }
  if (progress == Link::Progress::would_block) waiter.outcome = QMI_TIMEOUT_ERR;
  if (waiter.outcome != QMI_NO_ERR && answer_size != 0) memset(answer, 0, answer_size);
  hand_over();
  return waiter.outcome;
}

}  // namespace vek::qmi
