#include "modem/at/atr/service_requests.h"

#include <algorithm>
#include <span>

#include "at_host.h"
#include "records.h"

using namespace vek::at;

namespace {

struct Request {
  vek_vyrel_service_request head;
  std::string payload;
};

std::vector<Request> g_requests;
int g_verdict = 0;

int take(const void* request, uint32_t size) {
  Request taken = {};
  EXPECT_GE(size, sizeof taken.head);
  memcpy(&taken.head, request, sizeof taken.head);
  taken.payload.assign(static_cast<const char*>(request) + sizeof taken.head, size - sizeof taken.head);
  EXPECT_EQ(taken.head.payload_length, taken.payload.size());
  EXPECT_EQ(taken.head.source, 255);
  g_requests.push_back(taken);
  return g_verdict;
}

std::string int32(int32_t number) { return {reinterpret_cast<const char*>(&number), sizeof number}; }
std::string text_of(const char* text) { return {text, strlen(text) + 1}; }

const struct {
  const char* word;
  int32_t service;
  std::span<const NamedOperation> operations;
} kCommands[] = {
    {"GTVYRDEV", 1, kDeviceManager},    {"GTVYRBS", 2, kBootstrap},     {"GTVYRCNT", 3, kConnectManager},
    {"GTVYRSPC", 4, kPcClient},         {"GTVYRESIM", 5, kEsimManager}, {"GTVYRLOG", 6, kLoggingManager},
    {"GTVYRRECO", 7, kRecoveryManager}, {"GTVYREC", 8, kEcManager},
};

std::string example(const Parameter& parameter, int64_t size) {
  if (parameter.kind == Kind::number) return std::to_string(size);
  return "\"" + std::string(static_cast<size_t>(size), parameter.kind == Kind::text ? ',' : '1') + "\"";
}

}  // namespace

class ServiceRequests : public AtHost {
 protected:
  ServiceRequests() {
    callback_ = take;
    g_verdict = 0;
    g_requests.clear();
    set_devmgr({60, 120, 180, 240, 300, 6, 2, 1, 0});
    write_file(kFileLoggingPath, std::string(1, '\1'));
  }
};

TEST_F(ServiceRequests, CarryNumbersFirstAndThenTexts) {
  const struct {
    const char* line;
    int32_t service, request, value;
    std::string payload;
  } rows[] = {
      {"AT+GTVYRDEV=1,90", 1, 0, 90, ""},
      {"AT+GTVYRDEV=3,2", 1, 2, 2, ""},
      {"AT+GTVYRDEV=5", 1, 4, 0, ""},
      {"AT+GTVYRBS=0,\"https://bs.example/a,b\"", 2, 0, 0, text_of("https://bs.example/a,b")},
      {"AT+GTVYRBS=0", 2, 0, 0, ""},
      {"AT+GTVYRBS=1, 262", 2, 1, 262, ""},
      {"AT+GTVYRBS?", 2, 6, 0, ""},
      {"AT+GTVYRCNT=0,1", 3, 0, 1, ""},
      {"AT+GTVYRSPC=4,30,600", 4, 4, 30, int32(600)},
      {"AT+GTVYRSPC=4,0,0", 4, 4, 0, int32(0)},
      {"AT+GTVYRSPC=4", 4, 4, 0, ""},
      {"AT+GTVYRSPC=5,\"192.168.0.1\"", 4, 5, 0, text_of("192.168.0.1")},
      {"AT+GTVYRESIM=3,\"89490200001234567890\"", 5, 3, 0, text_of("89490200001234567890")},
      {"AT+GTVYRLOG=3,1000", 6, 3, 1000, ""},
      {"AT+GTVYRLOG=4,0", 6, 4, 0, ""},
      {"AT+GTVYRRECO=1,600,3", 7, 1, 600, int32(3)},
      {"AT+GTVYRRECO?", 7, 1, 0, ""},
      {"AT+GTVYREC=1,16,400", 8, 1, 16, int32(400)},
      {"AT+GTVYREC=4,\"00ffA0\"", 8, 4, 0, text_of("00ffA0")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    g_requests.clear();
    EXPECT_EQ(run(row.line), "nothing") << "the daemon answers";
    ASSERT_EQ(g_requests.size(), 1u);
    EXPECT_EQ(g_requests[0].head.service, row.service);
    EXPECT_EQ(g_requests[0].head.request, row.request);
    EXPECT_EQ(g_requests[0].head.value, row.value);
    EXPECT_EQ(g_requests[0].payload, row.payload);

    g_verdict = 5;
    EXPECT_EQ(run(row.line), "ERROR") << "the daemon refuses";
    g_verdict = 0;
  }
}

TEST_F(ServiceRequests, EachParameterKeepsToItsRange) {
  for (const auto& command : kCommands) {
    for (size_t operation = 0; operation < command.operations.size(); operation++) {
      const Operation bare = command.operations[operation].operation();
      const std::string head = std::string("AT+") + command.word + "=" + std::to_string(operation);
      std::string least = head;
      std::string most = head;
      for (uint32_t i = 0; i < bare.parameter_count(); i++) {
        least += "," + example(bare.parameters[i], bare.parameters[i].min);
        most += "," + example(bare.parameters[i], bare.parameters[i].max);
      }
      SCOPED_TRACE(most);
      EXPECT_EQ(run(head) == "ERROR", bare.bare == Bare::refused);
      EXPECT_EQ(run(most + ",1"), "ERROR");
      if (bare.parameter_count() == 0) continue;

      for (const std::string& good : {least, most}) {
        g_requests.clear();
        EXPECT_EQ(run(good), "nothing");
        ASSERT_EQ(g_requests.size(), 1u);
        EXPECT_EQ(g_requests[0].head.service, command.service);
        EXPECT_EQ(g_requests[0].head.request, bare.request);
      }
      g_requests.clear();
      for (uint32_t wrong = 0; wrong < bare.parameter_count(); wrong++) {
        const Parameter& parameter = bare.parameters[wrong];
        std::vector<std::string> values = {"", "-1", "bare", example(parameter, int64_t{parameter.max} + 1)};
        if (parameter.min > 0) values.push_back(example(parameter, parameter.min - 1));
        values.push_back(parameter.kind == Kind::number ? "\"1\"" : "1");
        if (parameter.kind == Kind::hex) values.insert(values.end(), {"\"123\"", "\"1g\""});
        if (parameter.kind == Kind::digits) values.push_back("\"8949020000123456789F\"");
        for (const std::string& value : values) {
          std::string line = head;
          for (uint32_t i = 0; i < bare.parameter_count(); i++)
            line += "," + (i == wrong ? value : example(bare.parameters[i], bare.parameters[i].min));
          EXPECT_EQ(run(line), "ERROR") << line;
        }
      }
      EXPECT_TRUE(g_requests.empty());
    }
  }
}

TEST_F(ServiceRequests, WhatIsWrongStandsInTheLog) {
  const struct {
    const char* line;
    const char* record;
  } rows[] = {
      {"AT+GTVYRCNT=0,2", "params value invalid error, ERROR: refuse() -> "},
      {"AT+GTVYRCNT=6", "params value invalid error, ERROR: refuse() -> "},
      {"AT+GTVYRCNT=6", "GTVYRCNT:operation = 6"},
      {"AT+GTVYRCNT=1,1", "params num error, ERROR: refuse() -> "},
      {"AT+GTVYRCNT=1,1,1,1", "num_params invalid error, ERROR: serve() -> "},
      {"AT+GTVYRSPC=", "params error, ERROR: serve() -> "},
      {"AT+GTVYRSPC=\"0\"", "params error, ERROR: serve() -> "},
      {"AT+GTVYRLOG=x", "params error, ERROR: Arguments() -> "},
      {"AT+GTVYRLOG=x", "GTVYRLOG: input params is : x"},
      {"AT+GTVYREC=1,7,400", "operation(1) params invalid, ERROR: refuse() -> "},
      {"AT+GTVYREC=8", "operation(8) params invalid, ERROR: refuse() -> "},
      {"AT+GTVYREC=3", "operation(3) params invalid, ERROR: refuse() -> "},
  };
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(run(row.line), "ERROR"); });
    EXPECT_TRUE(seen.has_part("AT", row.record)) << row.line << "\n" << seen;
  }
  const auto seen = records_of([&] { EXPECT_EQ(korvane_HandleCmd_GTVYRBS_set(&info_, nullptr), 0); });
  EXPECT_TRUE(seen.has_part("AT", "GTVYRBS cmd params is null "));
  EXPECT_TRUE(g_requests.empty());
}

TEST_F(ServiceRequests, SettingsAreAnsweredWithoutTheDaemon) {
  EXPECT_EQ(
      run("AT+GTVYRDEV=0"),
      "+GTVYRDEV: \n enter_primary_time: 60\n enter_polling_time: 120\n exit_iot_time: 180\n stay_airplane_mode_time: "
      "240\n handle_pending_cmd_time: 300\n | OK");
  EXPECT_EQ(run("AT+GTVYRDEV=1"), "+GTVYRDEV: \n exception handling time: 6 | OK");
  EXPECT_EQ(run("AT+GTVYRDEV=2"), "+GTVYRDEV: \n profile class: 2 | OK");
  EXPECT_EQ(run("AT+GTVYRLOG=4"), "+GTVYRLOG: \nfile logging: 1 | OK");
  EXPECT_TRUE(g_requests.empty());

  EXPECT_EQ(run("AT+GTVYRLOG=4,0"), "nothing");
  EXPECT_EQ(g_requests.size(), 1u) << "the logging manager hears of the switch";
  EXPECT_EQ(read_file(kFileLoggingPath), std::string(1, '\0'));

  unlink(kDevmgrPath);
  unlink(kFileLoggingPath);
  const auto seen = records_of([&] {
    for (const char* line : {"AT+GTVYRDEV=0", "AT+GTVYRDEV=1", "AT+GTVYRLOG=4"}) EXPECT_EQ(run(line), "ERROR") << line;
    std::filesystem::create_directory(kFileLoggingPath);
    EXPECT_EQ(run("AT+GTVYRLOG=4,1"), "ERROR");
  });
  for (const char* record : {"devmgr NV read failed", "logging NV read failed", "logging NV write failed"})
    EXPECT_TRUE(seen.has("AT", record)) << record;
  std::filesystem::remove(kFileLoggingPath);
}

TEST_F(ServiceRequests, WithoutADaemonTheErrorIsAnswered) {
  callback_ = nullptr;
  EXPECT_EQ(run("AT+GTVYRBS=6"), "ERROR");
}
