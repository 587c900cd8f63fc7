// Memory, mutexes, semaphores and items. Records are suppressed.
#include <fcntl.h>
#include <glib.h>
#include <lmdb.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "row.h"
#include "vek_pal.h"

namespace {

void memory_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  for (auto _ : state) {
    void* const block = vek_pal_malloc(64);
    benchmark::DoNotOptimize(block);
    vek_pal_free(block);
  }
}
void memory_floor(benchmark::State& state) {
  for (auto _ : state) {
    void* const block = malloc(64);
    benchmark::DoNotOptimize(block);
    free(block);
  }
}
void memory_glib(benchmark::State& state) {
  for (auto _ : state) {
    void* const block = g_malloc(64);
    benchmark::DoNotOptimize(block);
    g_free(block);
  }
}

void mutex_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  vek_pal_mutex_t mutex = nullptr;
  vek_pal_mutex_create(&mutex);
  for (auto _ : state) {
    vek_pal_mutex_lock(mutex);
    vek_pal_mutex_unlock(mutex);
  }
  vek_pal_mutex_delete(&mutex);
}
void mutex_floor(benchmark::State& state) {
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_t mutex;
  pthread_mutex_init(&mutex, &attr);
  for (auto _ : state) {
    pthread_mutex_lock(&mutex);
    pthread_mutex_unlock(&mutex);
  }
}
void mutex_glib(benchmark::State& state) {
  GRecMutex mutex;
  g_rec_mutex_init(&mutex);
  for (auto _ : state) {
    g_rec_mutex_lock(&mutex);
    g_rec_mutex_unlock(&mutex);
  }
  g_rec_mutex_clear(&mutex);
}

struct OurSem {
  vek_pal_sem_t handle = nullptr;
  explicit OurSem(const char* name) {
    vek_pal_log_set_level(1);
    vek_pal_sem_init(&handle, name, 1, 0);
  }
  ~OurSem() { vek_pal_sem_deinit(&handle); }
  void post() { vek_pal_sem_post(handle); }
  void wait() { vek_pal_sem_wait(&handle, nullptr); }
};
struct FloorSem {
  sem_t* handle;
  const char* name;
  explicit FloorSem(const char* sem_name) : handle(sem_open(sem_name, O_CREAT | O_RDWR, 0600, 0)), name(sem_name) {}
  ~FloorSem() {
    sem_close(handle);
    sem_unlink(name);
  }
  void post() { sem_post(handle); }
  void wait() { sem_wait(handle); }
};

template <typename Sem>
void sem_post_wait(benchmark::State& state) {
  Sem sem("bench_one");
  for (auto _ : state) {
    sem.post();
    sem.wait();
  }
}
template <typename Sem>
void sem_ping_pong(benchmark::State& state) {
  Sem ping("bench_ping"), pong("bench_pong");
  std::atomic<bool> over = false;
  std::thread other([&] {
    for (;;) {
      ping.wait();
      if (over) return;
      pong.post();
    }
  });
  for (auto _ : state) {
    ping.post();
    pong.wait();
  }
  over = true;
  ping.post();
  other.join();
}

constexpr unsigned kItem = 80;
constexpr char kItemFile[] = "/data/vyrel/vyrel_ec_modem";
char g_item[32];

void item_write_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  for (auto _ : state) benchmark::DoNotOptimize(vek_pal_nvm_write(kItem, g_item, sizeof g_item));
}
void item_write_floor(benchmark::State& state) {
  mkdir("/data/vyrel", 0700);
  for (auto _ : state) {
    benchmark::DoNotOptimize(access("/data/vyrel/", F_OK));
    const int file = open(kItemFile, O_WRONLY | O_CREAT | O_TRUNC | O_SYNC, 0644);
    benchmark::DoNotOptimize(write(file, g_item, sizeof g_item));
    fsync(file);
    close(file);
  }
}
void item_read_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  vek_pal_nvm_write(kItem, g_item, sizeof g_item);
  for (auto _ : state) benchmark::DoNotOptimize(vek_pal_nvm_read(kItem, g_item, sizeof g_item));
}
void item_read_floor(benchmark::State& state) {
  vek_pal_nvm_write(kItem, g_item, sizeof g_item);
  for (auto _ : state) {
    const int file = open(kItemFile, O_RDONLY);
    benchmark::DoNotOptimize(read(file, g_item, sizeof g_item));
    close(file);
  }
}

class Lmdb {
 public:
  Lmdb() {
    mkdir("/data/lmdb", 0700);
    mdb_env_create(&env_);
    mdb_env_open(env_, "/data/lmdb", 0, 0600);
  }
  ~Lmdb() { mdb_env_close(env_); }
  template <typename Body>
  void in_transaction(unsigned flags, Body body) {
    MDB_txn* transaction;
    MDB_dbi table;
    mdb_txn_begin(env_, nullptr, flags, &transaction);
    mdb_dbi_open(transaction, nullptr, 0, &table);
    unsigned id = kItem;
    MDB_val key = {sizeof id, &id}, value = {sizeof g_item, g_item};
    body(transaction, table, key, value);
    mdb_txn_commit(transaction);
  }
  void put() {
    in_transaction(0, [](auto* txn, auto table, auto& key, auto& value) { mdb_put(txn, table, &key, &value, 0); });
  }
  void get() {
    in_transaction(MDB_RDONLY,
                   [](auto* txn, auto table, auto& key, auto& value) { mdb_get(txn, table, &key, &value); });
  }

 private:
  MDB_env* env_ = nullptr;
};

void item_write_lmdb(benchmark::State& state) {
  Lmdb lmdb;
  for (auto _ : state) lmdb.put();
}
void item_read_lmdb(benchmark::State& state) {
  Lmdb lmdb;
  lmdb.put();
  for (auto _ : state) lmdb.get();
}

[[maybe_unused]] const bool registered =
    bench::row("malloc_free/ours", memory_ours) && bench::row("malloc_free/floor", memory_floor) &&
    bench::row("malloc_free/peer:GLib", memory_glib) && bench::row("mutex_lock_unlock/ours", mutex_ours) &&
    bench::row("mutex_lock_unlock/floor", mutex_floor) && bench::row("mutex_lock_unlock/peer:GLib", mutex_glib) &&
    bench::row("sem_post_wait/ours", sem_post_wait<OurSem>) &&
    bench::row("sem_post_wait/floor", sem_post_wait<FloorSem>) &&
    bench::row("sem_ping_pong/ours", sem_ping_pong<OurSem>) &&
    bench::row("sem_ping_pong/floor", sem_ping_pong<FloorSem>) && bench::row("item_read/ours", item_read_ours) &&
    bench::row("item_read/floor", item_read_floor) && bench::row("item_read/peer:LMDB", item_read_lmdb) &&
    bench::row("item_write/ours", item_write_ours) && bench::row("item_write/floor", item_write_floor) &&
    bench::row("item_write/peer:LMDB", item_write_lmdb);

}  // namespace
