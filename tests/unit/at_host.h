// The other ends of the AT command service, for tests: the AT server that takes answers, the MBIM function that takes
// unsolicited lines, and the files that commands read and write.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "vek_pal/at.h"
#include "vek_pal/nvm.h"

constexpr char kSwitchPath[] = "/etc/vyrel_main_switch_flag.cfg";
constexpr char kModesPath[] = "/data/vyrel/vyrel_service_diagnosis_mode";
constexpr char kDevmgrPath[] = "/data/vyrel/vyrel_devmgr_modem";
constexpr char kFileLoggingPath[] = "/data/vyrel/vyrel_file_logging";

inline int bound_socket(int type, const char* path) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  unlink(path);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << path;
  EXPECT_TRUE(type != SOCK_STREAM || listen(fd, 16) == 0);
  return fd;
}

inline void write_file(const char* path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string read_file(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class AtHost : public testing::Test {
 protected:
  AtHost() { set_modes(0, 0); }
  ~AtHost() override {
    close(answers_);
    close(mbim_);
    for (const char* path : {kSwitchPath, kModesPath, kDevmgrPath, kFileLoggingPath}) unlink(path);
    vyrel_auth_flag = 0;
  }

  static void set_modes(char service, char diagnosis) { write_file(kModesPath, {service, diagnosis, 7}); }
  static void set_main_switch(const std::string& content) { write_file(kSwitchPath, content); }
  static void set_devmgr(const vek_vyrel_devmgr_settings& settings) {
    write_file(kDevmgrPath, {reinterpret_cast<const char*>(&settings), sizeof settings});
  }

  // What a command is answered with: "OK", "ERROR", or either after its text. Anything but one answer stands out.
  std::string run(const std::string& line) {
    info_.callback = callback_;
    vek_pal_at_dispatch_command(&info_, line.c_str());
    return answer();
  }

  std::string answer() {
    std::string all;
    char datagram[8193];
    ssize_t length;
    while ((length = recv(answers_, datagram, sizeof datagram, 0)) >= 0) {
      int32_t result;
      memcpy(&result, datagram, sizeof result);
      if (!all.empty()) all += " and then ";
      all.append(datagram + sizeof result, static_cast<size_t>(length) - sizeof result);
      if (length > static_cast<ssize_t>(sizeof result)) all += " | ";
      all += result == 0 ? "OK" : result == 1 ? "ERROR" : "result " + std::to_string(result);
    }
    return all.empty() ? "nothing" : all;
  }

  std::vector<std::string> lines_to_host() {
    std::vector<std::string> lines;
    for (int peer; (peer = accept(mbim_, nullptr, nullptr)) >= 0; close(peer)) {
      char text[128];
      lines.emplace_back(text, static_cast<size_t>(recv(peer, text, sizeof text, 0)));
    }
    return lines;
  }

  void hang_up_mbim() {
    close(mbim_);
    mbim_ = -1;
  }

  vek_pal_at_info info_ = {};
  vek_pal_at_service_callback callback_ = [](const void*, uint32_t) { return 1; };

 private:
  int answers_ = bound_socket(SOCK_DGRAM, "/data/vek_pal_at_client.sock");
  int mbim_ = bound_socket(SOCK_STREAM, "/dev/socket/korv_qbi_domain_socket");
};
