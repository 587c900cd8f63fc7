// A message through a queue, and what a timer costs: to arm and disarm it, and in CPU time each time it expires. The
// floors make the same system calls and nothing else.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <semaphore.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <time.h>
#include <unistd.h>

#include "vek_pal.h"

namespace {

constexpr unsigned kMessages = 10;
constexpr unsigned kMessageSize = 100;
constexpr int kExpiries = 20;

void quiet() { vek_pal_log_set_level(VEK_PAL_LOG_FATAL); }

struct Frame {
  long type;
  char payload[];
};

void queue_ours(benchmark::State& state) {
  quiet();
  vek_pal_mq_t queue;
  if (vek_pal_mq_create(kMessages, kMessageSize, "bench", &queue) != 0) return state.SkipWithError("no queue");
  const char message[kMessageSize] = "x";
  char out[kMessageSize];
  unsigned size;
  for (auto _ : state) {
    vek_pal_mq_put(queue, message, sizeof message, nullptr);
    vek_pal_mq_get(queue, out, &size, nullptr);
    benchmark::ClobberMemory();
  }
  vek_pal_mq_delete(&queue);
}
BENCHMARK(queue_ours)->Name("queue_put_get/ours");

void queue_floor(benchmark::State& state) {
  const int queue = msgget(IPC_PRIVATE, 0600);
  msqid_ds settings;
  msgctl(queue, IPC_STAT, &settings);
  settings.msg_qbytes = kMessages * (kMessageSize + 4);
  msgctl(queue, IPC_SET, &settings);
  const char message[kMessageSize] = "x";
  char out[kMessageSize];
  for (auto _ : state) {
    auto* const sent = static_cast<Frame*>(malloc(sizeof(Frame) + sizeof message));
    sent->type = 1;
    memcpy(sent->payload, message, sizeof message);
    msgsnd(queue, sent, sizeof message, 0);
    free(sent);
    msgctl(queue, IPC_STAT, &settings);
    auto* const received = static_cast<Frame*>(malloc(sizeof(Frame) + settings.msg_qbytes));
    const ssize_t length = msgrcv(queue, received, settings.msg_qbytes - 4, 1, 0);
    if (length < 0) return state.SkipWithError("no message");
    memcpy(out, received->payload, static_cast<size_t>(length));
    free(received);
    benchmark::ClobberMemory();
  }
  msgctl(queue, IPC_RMID, nullptr);
}
BENCHMARK(queue_floor)->Name("queue_put_get/floor");

void arm_ours(benchmark::State& state) {
  quiet();
  vek_pal_timer_t timer;
  if (vek_pal_timer_create([](void*) {}, nullptr, "bench", &timer) != 0) return state.SkipWithError("no timer");
  for (auto _ : state) {
    vek_pal_timer_start(&timer, 3'600'000, 0);
    vek_pal_timer_stop(&timer);
  }
  vek_pal_timer_delete(&timer);
}
BENCHMARK(arm_ours)->Name("timer_arm_disarm/ours");

timer_t system_timer(void (*on_expiry)(sigval), void* arg) {
  sigevent event{};
  event.sigev_notify = SIGEV_THREAD;
  event.sigev_notify_function = on_expiry;
  event.sigev_value.sival_ptr = arg;
  timer_t timer{};
  timer_create(CLOCK_BOOTTIME, &event, &timer);
  return timer;
}

void arm_floor(benchmark::State& state) {
  const timer_t timer = system_timer([](sigval) {}, nullptr);
  const itimerspec later = {.it_interval = {}, .it_value = {.tv_sec = 3600, .tv_nsec = 0}};
  const itimerspec never{};
  for (auto _ : state) {
    timer_settime(timer, 0, &later, nullptr);
    timer_settime(timer, 0, &never, nullptr);
  }
  timer_delete(timer);
}
BENCHMARK(arm_floor)->Name("timer_arm_disarm/floor");

// CPU time of the whole process for some expiries, for this thread sleeps meanwhile.
template <typename Expire>
void measure_cpu(benchmark::State& state, sem_t& fired, Expire start) {
  for (auto _ : state) {
    timespec before, after;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
    for (int i = 0; i < kExpiries; i++) {
      start();
      sem_wait(&fired);
    }
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
    const double seconds =
        static_cast<double>(after.tv_sec - before.tv_sec) + 1e-9 * static_cast<double>(after.tv_nsec - before.tv_nsec);
    state.SetIterationTime(seconds / kExpiries);
  }
}

void post(void* fired) { sem_post(static_cast<sem_t*>(fired)); }

void expiry_ours(benchmark::State& state) {
  quiet();
  sem_t fired;
  sem_init(&fired, 0, 0);
  vek_pal_timer_t timer;
  if (vek_pal_timer_create(post, &fired, "bench", &timer) != 0) return state.SkipWithError("no timer");
  measure_cpu(state, fired, [&] { vek_pal_timer_start(&timer, 1, 0); });
  vek_pal_timer_delete(&timer);
  sleep(1);  // the last expiry's thread may still be at it
}
BENCHMARK(expiry_ours)->Name("timer_expiry_cpu/ours")->UseManualTime()->Iterations(20);

void write_name(const char* path) {
  const int fd = open(path, O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return;
  [[maybe_unused]] const ssize_t ignored = write(fd, "timer", 5);
  close(fd);
}

void expiry_floor(benchmark::State& state) {
  static sem_t fired;
  sem_init(&fired, 0, 0);
  const timer_t timer = system_timer(
      [](sigval value) {
        write_name("/sys/power/wake_lock");
        post(value.sival_ptr);
        write_name("/sys/power/wake_unlock");
      },
      &fired);
  const itimerspec soon = {.it_interval = {}, .it_value = {.tv_sec = 0, .tv_nsec = 1'000'000}};
  measure_cpu(state, fired, [&] { timer_settime(timer, 0, &soon, nullptr); });
  timer_delete(timer);
  sleep(1);
}
BENCHMARK(expiry_floor)->Name("timer_expiry_cpu/floor")->UseManualTime()->Iterations(20);

}  // namespace
