// What all clients of the process share: one connection, the table of clients, the requests under way and the receive
// thread.
//
// Everything here is under one mutex, which is never held during a wait for the modem or a callback. Who holds it keeps
// cancellation off (MutexLock), also while it is let go for a wait: a request's record of who waits lies on its stack.
//
// Who reads. A thread that waits for an answer reads the connection itself, so that an answer costs one wake-up and not
// two. One reads at a time and hands the others' answers over; the last one that leaves arms the receive thread's
// epoll, which so reads only when nobody waits. Indications go through a queue to the receive thread, whoever read
// them.
#pragma once

#include <pthread.h>

#include "common/base/mutex_lock.h"
#include "providers/qmi/codec/frame.h"
#include "providers/qmi/services/common.h"
#include "providers/qmi/transport/link.h"

struct qmi_client_struct {
  qmi_idl_service_object_type service;  // nullptr: this place in the table is free
  qmi_client_ind_cb ind_cb;
  void* ind_cb_data;
  qmi_client_recovery_cb recovery_cb;
  void* recovery_cb_data;
  uint16_t transaction;  // of its latest request
  uint8_t client_id;     // 0: the modem has given none, or has forgotten it
  bool allocating;       // some thread is asking for one
  bool recovering;       // its recovery callback is still to be called
};

namespace vek::qmi {

// A request under way, on the stack of the thread that made it.
struct Waiter {
  const FrameHeader expected;
  const Message* const response;
  void* const record;
  const size_t record_size;

  Waiter* next = nullptr;
  qmi_client_error_type outcome = QMI_SERVICE_ERR;
  bool done = false;
  bool asleep = false;
  pthread_cond_t* wake = nullptr;  // made when it first sleeps; the usual request never does
};

struct Indication {
  Indication* next;
  qmi_client_type client;
  uint16_t message_id;
  uint16_t size;
  uint8_t tlvs[];
};

struct Session {
  enum class State : uint8_t { down, connecting, up, closed };

  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed =
      PTHREAD_COND_INITIALIZER;  // on CLOCK_MONOTONIC once started: an attempt, an allocation has ended
  State state = State::down;
  Link link;
  bool reading = false;  // a thread is at the link without the mutex: it must not be closed now
  bool lost = false;     // the link is to be closed by who leaves it last
  bool through_proxy = false;
  unsigned connection = 0;            // counts them
  bool armed = false;                 // the receive thread would see what comes
  Milliseconds unfinished_since = 0;  // when the first bytes came of a frame that lacks its end; 0: there is none
  uint8_t ctl_transaction = 0;
  Waiter* waiters = nullptr;
  qmi_client_struct clients[16] = {};

  bool started = false;
  pid_t process = 0;  // whose session it is; a forked child must not give its parent's client ids back
  int epoll = -1;
  int event = -1;
  Indication* first_indication = nullptr;
  Indication* last_indication = nullptr;
  unsigned indications = 0;
  uint32_t broadcast_hash = 0;  // the latest broadcast, and how many copies of it a proxy may still send
  unsigned broadcast_copies = 0;
};

extern Session g_session;

// All of the following are called with the mutex held and return with it held.

// exchange.cpp: sends a request and waits for its answer.
qmi_client_error_type exchange(const FrameHeader& header, const Message& request, const void* record,
                               size_t record_size, const Message& response, void* answer, size_t answer_size,
                               Milliseconds deadline);
// Ends a request, whatever its own thread is doing.
void finish(Waiter& waiter, qmi_client_error_type outcome);
// A modem sends a frame in one go. One that stays without its end for so long was never one: its length is garbage, and
// would swallow the frames that follow.
constexpr Milliseconds kUnfinishedFrameMs = 1000;
// Reads once, blocking until `deadline`, and deals with what came. Only for a thread that found `reading` false.
void read_once(Milliseconds deadline);
// What a thread that has read, or waited, does last: somebody else takes over.
void hand_over();
// Waits for `changed`; false: the deadline came first.
bool wait_for_change(Milliseconds deadline);

// connection.cpp: the connection and the client ids.
bool client_is_open(qmi_client_type client);
bool ensure_client_id(qmi_client_struct& client, Milliseconds deadline);
void give_back_client_id(qmi_client_struct& client, Milliseconds deadline);
void forget_client_id(qmi_client_struct& client);
// Ends what is under way and has everything set up anew. `void_ids`: the modem may have restarted, or the proxy gone,
// and nobody knows whose the client ids are now. Otherwise they are still ours, and asking for others would leak them.
void connection_lost(bool void_ids = true);
void close_when_unused();

// receive_thread.cpp.
bool start_receive_thread();  // once; false: this process cannot
void wake_receive_thread();
void deliver_later(const Frame& frame);
void drop_indications(qmi_client_type client);

}  // namespace vek::qmi
