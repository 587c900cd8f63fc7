// Acquisitions against an AT server of this program, on a clock that only pauses move.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "gnss/queue.h"
#include "records.h"
#include "vek_pal/at_client.h"
#include "vek_pal/gnss.h"

namespace {

constexpr int64_t kStart = 1700000000;

std::atomic<int64_t> g_clock_ms;
std::atomic<bool> g_no_threads;
std::atomic<int> g_patience_ms = 5000;

void doze() {
  const timespec pause{0, 1000000};
  nanosleep(&pause, nullptr);
}

// The worker has read everything that was queued, and waits.
bool worker_is_done() {
  pthread_mutex_lock(&vek::gnss::g_mutex);
  const bool done = vek::gnss::waiting() == 0;
  pthread_mutex_unlock(&vek::gnss::g_mutex);
  return done;
}

}  // namespace

// The library's pauses take no time. In the pause between polls the worker gets all the time it needs.
extern "C" int usleep(useconds_t microseconds) {
  if (microseconds == 3000000 && vek::gnss::g_msg_id != -1)
    for (int i = 0; i < g_patience_ms && !worker_is_done(); i++) doze();
  g_clock_ms += microseconds / 1000;
  return 0;
}

extern "C" time_t time(time_t* out) noexcept {
  const auto seconds = static_cast<time_t>(kStart + g_clock_ms / 1000);
  if (out != nullptr) *out = seconds;
  return seconds;
}

extern "C" int pthread_create(pthread_t* id, const pthread_attr_t* attr, void* (*body)(void*), void* arg) noexcept {
  if (g_no_threads) return EAGAIN;
  static const auto create = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return create(id, attr, body, arg);
}

namespace {

constexpr char kNoFix[] =
    "\r\n+GTGPS:\r\n$GPRMC,101206.00,V,,,,,,,170524,,,N*7C\r\n$GPGSV,1,1,03,05,41,070,21*4C\r\n\r\nOK\r\n";
constexpr char kFix[] =
    "\r\n+GTGPS:\r\n$GPGGA,101212.00,4603.4152,N,01430.3467,E,1,07,1.1,298.4,M,46.5,M,,*69\r\n"
    "$GPRMC,101212.00,A,4603.4152,N,01430.3467,E,0.1,187.4,170524,3.9,E,A*33\r\n\r\nOK\r\n";
constexpr char kError[] = "\r\nERROR\r\n";
constexpr char kOk[] = "\r\nOK\r\n";
constexpr char kGone[] = "";  // the server closes the connection and does not come back

// Answers each poll with the next of its answers, and further polls with the last.
class AtServer {
 public:
  AtServer(std::vector<std::string> answers, std::string off_answer)
      : answers_(std::move(answers)), off_answer_(std::move(off_answer)), listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(40096);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener_, 4), 0);
    thread_ = std::thread([this] { serve(); });
  }
  ~AtServer() {
    stop();
    thread_.join();
    close(listener_);
  }

  std::string commands() {
    const std::scoped_lock lock(mutex_);
    return commands_;
  }

 private:
  void stop() { shutdown(listener_, SHUT_RDWR); }

  void serve() {
    for (int client; (client = accept(listener_, nullptr, nullptr)) >= 0; close(client)) {
      char command[256];
      for (ssize_t n; (n = recv(client, command, sizeof command, 0)) > 0;) {
        const std::string answer = answer_to({command, static_cast<size_t>(n)});
        if (answer == kGone) {
          stop();
          break;
        }
        send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
      }
    }
  }

  std::string answer_to(const std::string& command) {
    const std::scoped_lock lock(mutex_);
    if (command == "AT+GTGPSPOWER=1\r\n") return commands_ += "on ", kOk;
    if (command == "AT+GTGPSPOWER=0\r\n") return commands_ += "off ", off_answer_;
    EXPECT_EQ(command, "AT+GTGPS?\r\n");
    commands_ += "poll ";
    const std::string answer = answers_.front();
    if (answers_.size() > 1) answers_.erase(answers_.begin());
    return answer;
  }

  std::vector<std::string> answers_;
  std::string off_answer_;
  std::mutex mutex_;
  std::string commands_;
  int listener_;
  std::thread thread_;
};

class GnssAcquire : public testing::Test {
 protected:
  void SetUp() override { g_clock_ms = 0; }
  void TearDown() override {
    vek_pal_at_client_close();
    vek_pal_queue_deinit();
  }

  int acquire(unsigned duration, std::vector<std::string> answers, const std::string& off_answer = kOk) {
    AtServer server(std::move(answers), off_answer);
    memset(static_cast<void*>(&location_), 0, sizeof location_);
    location_.IsValid = 1;  // of an earlier acquisition, which must not count
    int result = 77;
    seen_ = records_of([&] {
      g_no_threads = no_threads_;
      result = vek_pal_gnss_info_acquire(duration, &location_);
      g_no_threads = false;
    });
    commands_ = server.commands();
    vek_pal_at_client_close();
    return result;
  }

  static bool queue_exists() { return msgget(0x1111, 0) >= 0; }

  // Whether these GNSS records were written in this order, others between them.
  testing::AssertionResult wrote(const std::vector<std::string>& texts) {
    size_t next = 0;
    for (const Record& record : seen_.all)
      if (next < texts.size() && record.tag == "GNSS" && record.text == texts[next]) next++;
    if (next == texts.size()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "not in its place: " << texts[next] << '\n' << seen_;
  }

  bool no_threads_ = false;
  vek_pal_gnss_location_t location_;
  Records seen_;
  std::string commands_;
};

}  // namespace

TEST_F(GnssAcquire, TurnsDownBadArgumentsWithoutACommand) {
  AtServer server({kFix}, kOk);
  EXPECT_EQ(vek_pal_gnss_info_acquire(0, &location_), -1);
  EXPECT_EQ(vek_pal_gnss_info_acquire(10, nullptr), -1);
  EXPECT_EQ(server.commands(), "");
}

TEST_F(GnssAcquire, ReturnsAFixAtOnceAndTidiesUp) {
  EXPECT_EQ(acquire(60, {kFix}), 0);
  EXPECT_EQ(commands_, "on poll off ");
  EXPECT_EQ(g_clock_ms, 500 + 3000 + 1000 + 3000);
  EXPECT_FALSE(queue_exists());
  EXPECT_EQ(location_.IsValid, 1);
  EXPECT_NEAR(static_cast<double>(location_.Latitude), 46.056919, 1e-5);
  EXPECT_NEAR(static_cast<double>(location_.Altitude), 298.4, 1e-3);
  EXPECT_EQ(location_.Timestamp, static_cast<uint64_t>(kStart)) << "the clock's seconds, not the receiver's";
  EXPECT_TRUE(wrote({"Enter vek_pal_gnss_info_acquire, acquisition_duration=60", "g_msg_id enter init",
                     "AT response!!!:162", "process resp ok, will push to queue: 145", "Queue push success:146",
                     "GNSS data recive thread  locked, and signal wakeuped!!!", "Queue pop success:146",
                     "GNSS data is valid. Latitude: 46.056919, Longitude: 14.505778", "GNSS data parse finished.",
                     "location is get succeed, will return.", "recived exit thread signal,will return.",
                     "GNSS receive thread exited.", "thread is exited, will delete queue!",
                     "vek_pal_gnss_info_acquire done", "Queue deinit success."}));
}

TEST_F(GnssAcquire, ReturnsAFixThatComesLate) {
  EXPECT_EQ(acquire(60, {kNoFix, kError, kOk, kNoFix, kFix}), 0);
  EXPECT_EQ(commands_, "on poll poll poll poll poll off ");
  EXPECT_EQ(g_clock_ms, 500 + 5 * 3000 + 1000 + 3000);
  EXPECT_TRUE(
      wrote({"GNSS data is invalid.", "Failed to get location AT response. Ret=0, RLen=9", "AT response!!!:6",
             "Failed to process AT response!!!", "GNSS data is invalid.", "location is get succeed, will return."}));
}

TEST_F(GnssAcquire, EndsByTheClockOrByThePolls) {
  const struct {
    const char* what;
    unsigned duration;
    std::vector<std::string> answers;
    const char* commands;
    int64_t clock_ms;
    int valid;
    std::vector<std::string> records;
  } rows[] = {
      // Polls at 0, 3, 6 and 9 s after the start; at 12 s the limit of 10 s is over.
      {"no fix",
       10,
       {kNoFix},
       "on poll poll poll poll off ",
       500 + 4 * 3000 + 1000,
       0,
       {"Timeout: location data is invalid.", "recived exit thread signal,will return.",
        "thread is exited, will delete queue!", "Queue deinit success."}},
      {"only errors",
       4,
       {kError},
       "on poll poll off ",
       500 + 2 * 3000 + 1000,
       0,
       {"Failed to get location AT response. Ret=0, RLen=9", "Timeout: location data is invalid."}},
      {"no sentences",
       3,
       {kOk},
       "on poll poll off ",
       500 + 2 * 3000 + 1000,
       0,
       {"Failed to process AT response!!!", "Timeout: location data is invalid."}},
      {"one poll, whose answer nobody looks at",
       1,
       {kFix},
       "on poll off ",
       500 + 3000 + 1000,
       1,
       {"GNSS data parse finished.", "thread is exited, will delete queue!", "Queue deinit success.",
        "GNSS acquisition failed: timeout loop ended."}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    g_clock_ms = 0;
    EXPECT_EQ(acquire(row.duration, row.answers), -1);
    EXPECT_EQ(commands_, row.commands);
    EXPECT_EQ(g_clock_ms, row.clock_ms);
    EXPECT_EQ(location_.IsValid, row.valid);
    EXPECT_FALSE(queue_exists());
    EXPECT_TRUE(wrote(row.records));
  }
}

TEST_F(GnssAcquire, TakesAnswersUpToTheSizeOfTheResponse) {
  const std::string sentence = "$GPRMC,101212.00,A,4603.4152,N,01430.3467,E,0.1,187.4,170524,3.9,E,A*33\r\n";
  const auto answer = [&](size_t size) {
    std::string text = sentence + "$GPTXT,";
    return text + std::string(size - text.size(), 'x');
  };
  // The AT client cuts what is longer than the response.
  EXPECT_EQ(acquire(20, {answer(2047 - 6) + "\r\nOK\r\n"}), 0);
  EXPECT_EQ(acquire(20, {answer(3000) + "\r\nOK\r\n"}), -1) << "2048 characters and a terminator do not pass the queue";
  EXPECT_TRUE(wrote({"AT response!!!:2048", "process resp ok, will push to queue: 2048",
                     "Failed to push AT response to queue!!!", "Timeout: location data is invalid."}));
}

TEST_F(GnssAcquire, GivesUpWhenNoServerTakesThePowerOnCommand) {
  EXPECT_EQ(vek_pal_gnss_info_acquire(10, &location_), -1);
  EXPECT_EQ(g_clock_ms, 30 * 100);
  EXPECT_FALSE(queue_exists());
}

TEST_F(GnssAcquire, OutlastsAServerThatGoesAway) {
  EXPECT_EQ(acquire(8, {kNoFix, kGone}), -1);
  EXPECT_TRUE(wrote({"GNSS data is invalid.", "Failed to get location AT response. Ret=-1, RLen=0",
                     "Timeout: location data is invalid.", "thread is exited, will delete queue!",
                     "Queue deinit success.", "Failed to send AT command: AT+GTGPSPOWER=0\r\n"}));
  EXPECT_EQ(location_.Satellite_num, 3) << "the last answer stays";
}

TEST_F(GnssAcquire, KeepsTheQueueWhenTheReceiverCannotBeSwitchedOff) {
  EXPECT_EQ(acquire(10, {kFix}, kGone), -1);
  EXPECT_EQ(location_.IsValid, 1);
  EXPECT_TRUE(queue_exists());
  const std::string reuse = "g-msg-id is:" + std::to_string(vek::gnss::g_msg_id) + ".";

  EXPECT_EQ(acquire(10, {kFix}), 0);
  EXPECT_TRUE(wrote({reuse, "vek_pal_gnss_info_acquire done"}));
  EXPECT_FALSE(queue_exists());
}

TEST_F(GnssAcquire, IsNotHeldUpByWhatADeadProcessLeftInTheQueue) {
  const int queue = msgget(0x1111, IPC_CREAT | 0666);
  struct {
    long type = 1;
    char data[2048] = {};
  } message;
  const std::string old_fix = "$GPRMC,000000.00,A,0100.0000,N,00200.0000,E,0.1,187.4,010100,3.9,E,A";
  memcpy(message.data + 8 - sizeof(long), old_fix.data(), old_fix.size());
  ASSERT_EQ(msgsnd(queue, &message, 200, IPC_NOWAIT), 0);
  EXPECT_EQ(acquire(10, {kNoFix}), -1) << "a position of before is no fix";

  const int full = msgget(0x1111, IPC_CREAT | 0666);
  while (msgsnd(full, &message, sizeof message.data, IPC_NOWAIT) == 0) continue;
  g_patience_ms = 10;  // no worker will empty it
  EXPECT_EQ(acquire(4, {kFix}), -1);
  g_patience_ms = 5000;
  EXPECT_TRUE(wrote({"Queue push failed: msgsnd error.", "Failed to push AT response to queue!!!",
                     "Timeout: location data is invalid.", "Queue deinit success."}));
  EXPECT_EQ(acquire(10, {kFix}), 0) << "and the next one has a new queue";
}

TEST_F(GnssAcquire, LeavesTheReceiverOnWhenThereIsNoThread) {
  no_threads_ = true;
  EXPECT_EQ(acquire(10, {kFix}), -1);
  no_threads_ = false;
  EXPECT_EQ(commands_, "on ");
  EXPECT_TRUE(queue_exists());
  EXPECT_TRUE(
      wrote({"Queue init success. MsgID = " + std::to_string(vek::gnss::g_msg_id), "GNSS thread creation failed."}));

  EXPECT_EQ(acquire(10, {kFix}), 0) << "no lock stayed behind";
}

TEST_F(GnssAcquire, ItsWorkerWantsARecord) {
  seen_ = records_of([] { EXPECT_EQ(vek_pal_gnss_recive_nmea_data(nullptr), nullptr); });
  EXPECT_TRUE(wrote({"GNSS receive thread started is exit 1.", "para data is NULL"}));
}
