#include <algorithm>

#include "at_host.h"
#include "records.h"

namespace {

std::string argument_of(size_t length) {
  std::string text = "0,\"";
  text.append(length - text.size() - 1, 'x');
  return text + "\"";
}

}  // namespace

class AtCommands : public AtHost {};

TEST_F(AtCommands, EachFormHasOneAnswer) {
  const struct {
    const char* line;
    const char* answer;
    const char* record;  // "": none looked for
  } rows[] = {
      {"AT+GTVYREN?", "+GTVYREN: 0 | OK", ""},
      {"at+gtvyren?", "+GTVYREN: 0 | OK", ""},
      {"AT+GTVYREN=?", "+GTVYREN: (0,1) | OK", ""},
      {"AT+GTVYREN", "ERROR", ""},
      {"AT+GTVYRSER?", "+GTVYRSER: 0 | OK", ""},
      {"AT+GTVYRSER=?", "+GTVYRSER: (0,1,2) | OK", ""},
      {"AT+GTVYRDIAG?", "+GTVYRDIAG: 0 | OK", ""},
      {"AT+GTVYRDIAG=?", "ERROR", "set handler not implemented for AT+GTVYRDIAG\n"},
      {"AT+GTVYRPOC?", "ERROR", "devmgr NV read failed"},
      {"AT+GTVYRPOC=?", "ERROR", "set handler not implemented for AT+GTVYRPOC\n"},
      {"AT+GTVYRDEV?", "ERROR", "read handler not implemented for AT+GTVYRDEV\n"},
      {"AT+GTESIMICCID=1", "ERROR", "set handler not implemented for AT+GTESIMICCID\n"},
      {"AT+GTVYRE?", "ERROR", "not registerd at command AT+GTVYRE?"},
      {"AT+GTVYRENX=1", "ERROR", "not registerd at command AT+GTVYRENX=1"},
      {" AT+GTVYREN?", "ERROR", "not registerd at command  AT+GTVYREN?"},
      {"", "ERROR", "not registerd at command "},
      {"=", "ERROR", "not registerd at command ="},
      {"AT+GTVYRSER=1?", "+GTVYRSER: 0 | OK", ""},
      {"AT+GTVYRSER?\r\n", "ERROR", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    const auto seen = records_of([&] { EXPECT_EQ(run(row.line), row.answer); });
    EXPECT_TRUE(*row.record == '\0' || seen.has("AT", row.record)) << seen;
  }
  EXPECT_EQ(run(std::string(64, 'A') + "=1"), "ERROR");
}

TEST_F(AtCommands, ANullLineOrRecordIsAnsweredWithTheError) {
  EXPECT_EQ(vek_pal_at_dispatch_command(nullptr, "AT+GTVYREN?"), 0);
  EXPECT_EQ(answer(), "ERROR");
  EXPECT_EQ(vek_pal_at_dispatch_command(&info_, nullptr), 0);
  EXPECT_EQ(answer(), "ERROR");
  EXPECT_EQ(vek_pal_at_dispatch_command(&info_, "AT+GTVYREN?"), 1) << "what the handler returned";
}

TEST_F(AtCommands, ArgumentsOf511CharactersReachTheHandler) {
  for (const auto& [length, reaches] : {std::pair(511u, true), std::pair(512u, false)}) {
    const auto seen =
        records_of([&, length = length] { EXPECT_EQ(run("AT+GTVYRBS=" + argument_of(length)), "ERROR"); });
    EXPECT_EQ(seen.has_part("AT", "GTVYRBS: num_params = 2"), reaches) << length;
  }
}

TEST_F(AtCommands, TheMainSwitchTakesZeroAndOne) {
  const struct {
    const char* arguments;
    const char* answer;
    const char* record;
  } rows[] = {
      {"1", "OK", "Main switch flag set to 1"},
      {"0", "OK", "Main switch flag set to 0"},
      {"2", "ERROR", "Invalid flag value: 2"},
      {"1,0", "ERROR", "param num is not 1: korvane_HandleCmd_GTVYREN_set()->"},
      {"", "ERROR", "Parameter parsing failed! ERROR line="},
      {"-1", "ERROR", "Parameter parsing failed! ERROR line="},
      {"\"1\"", "ERROR", "Parameter parsing failed! ERROR line="},
      {"on", "ERROR", "create from str fail: korvane_HandleCmd_GTVYREN_set()->"},
      {"1\r\n", "ERROR", "create from str fail: korvane_HandleCmd_GTVYREN_set()->"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    set_main_switch("0");
    const auto seen = records_of([&] { EXPECT_EQ(run(std::string("AT+GTVYREN=") + row.arguments), row.answer); });
    EXPECT_TRUE(seen.has_part("AT", row.record)) << seen;
  }
  const auto seen = records_of([] { EXPECT_EQ(korvane_HandleCmd_GTVYREN_set(nullptr, nullptr), 0); });
  EXPECT_TRUE(seen.has_part("AT", "param is null: korvane_HandleCmd_GTVYREN_set()->"));
}

TEST_F(AtCommands, SwitchingReplacesTheFirstByteAlone) {
  vyrel_auth_flag = 1;
  const std::string rest(5000, 'r');
  for (const auto& [before, line, after] :
       {std::tuple<std::string, std::string, std::string>{"0" + rest, "1", "1" + rest},
        {"1" + rest, "0", "0" + rest},
        {"x\n", "1", "1\n"},
        {"", "1", "1"}}) {
    set_main_switch(before);
    chmod(kSwitchPath, 0600);
    EXPECT_EQ(run("AT+GTVYREN=" + line), "OK");
    EXPECT_EQ(read_file(kSwitchPath), after);
    EXPECT_EQ(run("AT+GTVYREN?"), "+GTVYREN: " + line + " | OK");
    struct stat status;
    stat(kSwitchPath, &status);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
  }
  unlink(kSwitchPath);
  EXPECT_EQ(run("AT+GTVYREN=1"), "OK");
  EXPECT_EQ(read_file(kSwitchPath), "1");
  EXPECT_FALSE(std::filesystem::exists(std::string(kSwitchPath) + ".new"));
}

TEST_F(AtCommands, AFileThatCannotBeReadIsNoSwitch) {
  int on = 9;
  EXPECT_EQ(vek_vyrel_get_main_switch_flag(nullptr), -1);
  EXPECT_EQ(vek_vyrel_get_main_switch_flag(&on), 0);
  EXPECT_EQ(on, 0) << "missing";
  std::filesystem::create_directory(kSwitchPath);
  EXPECT_EQ(vek_vyrel_get_main_switch_flag(&on), -1);
  const auto seen = records_of([&] {
    EXPECT_EQ(run("AT+GTVYREN?"), "ERROR");
    EXPECT_EQ(run("AT+GTVYRSER=1"), "ERROR");
  });
  EXPECT_TRUE(seen.has_part("AT", "[VYREL]:ERROR line="));
  EXPECT_TRUE(seen.has_part("AT", "vyrel unauth, ERROR line="));
  std::filesystem::remove(kSwitchPath);
}

TEST_F(AtCommands, TheAccessGateGuardsWhileTheMainSwitchIsOn) {
  set_main_switch("1");
  for (const char* line : {"AT+GTVYREN=0", "AT+GTVYRSER=1", "AT+GTVYRDIAG=1"}) {
    const auto seen = records_of([&] { EXPECT_EQ(run(line), "ERROR"); });
    EXPECT_TRUE(seen.has("AT", "Have to check auth flag!"));
    EXPECT_TRUE(
        seen.has_part("AT", "Auth flag is false, have to authentication!\nvyrel unauth,return; vek_auth_flag_check "));
    EXPECT_TRUE(seen.has_part("AT", "vyrel unauth, ERROR line="));
  }
  EXPECT_EQ(run("AT+GTVYRSER?"), "+GTVYRSER: 0 | OK") << "reading needs no access";

  set_main_switch("0");
  EXPECT_EQ(run("AT+GTVYRSER=1"), "OK");
  EXPECT_EQ(vyrel_auth_flag, 1) << "a check made while the switch is off opens the gate for good";
  set_main_switch("1");
  const auto seen = records_of([&] { EXPECT_EQ(run("AT+GTVYRSER=2"), "OK"); });
  EXPECT_TRUE(seen.has("AT", "Service mode and diag mode can be changed!"));
  EXPECT_EQ(read_file(kModesPath), std::string({2, 0, 7}));
}

TEST_F(AtCommands, ModesTakeTheirValuesAndKeepTheRestOfTheirItem) {
  const struct {
    const char* line;
    const char* answer;
    const char* record;
    std::string item;
  } rows[] = {
      {"AT+GTVYRSER=2", "OK", "GTVYRSER: value1 is : 2", {2, 1, 7}},
      {"AT+GTVYRSER=3", "ERROR", "params value invalid error, ERROR: one_value() -> ", {0, 1, 7}},
      {"AT+GTVYRSER=1,1", "ERROR", "num_params invalid error, ERROR: one_value() -> ", {0, 1, 7}},
      {"AT+GTVYRSER=1,", "ERROR", "num_params invalid error, ERROR: one_value() -> ", {0, 1, 7}},
      {"AT+GTVYRSER=", "ERROR", "params error, ERROR: one_value() -> ", {0, 1, 7}},
      {"AT+GTVYRSER=one", "ERROR", "params error, ERROR: Arguments() -> ", {0, 1, 7}},
      {"AT+GTVYRDIAG=0", "OK", "GTVYRDIAG: value1 is : 0", {0, 0, 7}},
      {"AT+GTVYRDIAG=1", "OK", "No need to set diagnosis mode", {0, 1, 7}},
      {"AT+GTVYRDIAG=2", "ERROR", "GTVYRDIAG: num_params = 1", {0, 1, 7}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    set_modes(0, 1);
    const auto seen = records_of([&] { EXPECT_EQ(run(row.line), row.answer); });
    EXPECT_TRUE(seen.has_part("AT", row.record)) << seen;
    EXPECT_EQ(read_file(kModesPath), row.item);
  }
  unlink(kModesPath);
  const auto seen = records_of([&] {
    for (const char* line : {"AT+GTVYRSER=1", "AT+GTVYRSER?", "AT+GTVYRDIAG=1", "AT+GTVYRDIAG?"})
      EXPECT_EQ(run(line), "ERROR") << line;
    korvane_HandleCmd_GTVYRSER_set(nullptr, nullptr);
  });
  EXPECT_TRUE(seen.has("AT", "vyrel main service mode NV read failed"));
  EXPECT_TRUE(seen.has_part("AT", "GTVYRSER cmd params is null "));
}

TEST_F(AtCommands, ThePocStateIsKeptAndAnnounced) {
  const vek_vyrel_devmgr_settings before = {1, 2, 3, 4, 5, 6, 7, 8, 0};
  for (const auto& [value, line] : {std::pair(0, "DEACTIVE"), std::pair(1, "ACTIVE"), std::pair(2, "CHECK")}) {
    set_devmgr(before);
    EXPECT_EQ(run("AT+GTVYRPOC=" + std::to_string(value)), "OK");
    EXPECT_EQ(lines_to_host(), std::vector{"+GTVYRPOC: " + std::string(line)});
    EXPECT_EQ(run("AT+GTVYRPOC?"), "+GTVYRPOC: " + std::to_string(value) + " | OK");
    EXPECT_EQ(run("AT+GTVYRDEV=1"), "+GTVYRDEV: \n exception handling time: 6 | OK") << "the rest of the item stays";
  }
  EXPECT_EQ(run("AT+GTVYRPOC=3"), "ERROR");
  EXPECT_TRUE(lines_to_host().empty());

  hang_up_mbim();
  const auto seen = records_of([&] { EXPECT_EQ(run("AT+GTVYRPOC=1"), "ERROR"); });
  EXPECT_TRUE(seen.has_part("AT", "send MBIM notify fail! ERROR line="));
  EXPECT_EQ(run("AT+GTVYRPOC?"), "+GTVYRPOC: 1 | OK") << "kept all the same";
}

TEST_F(AtCommands, DiagnosisModeIsAskedForOnce) {
  const char* const lines[] = {"AT+GTVYRBS=6",  "AT+GTVYRRECO=0,1", "AT+GTVYRLOG=0", "AT+GTVYRESIM=0", "AT+GTVYRDEV=4",
                               "AT+GTVYRCNT=1", "AT+GTVYRSPC=0",    "AT+GTVYRBS?",   "AT+GTVYRRECO?"};
  for (const char* line : lines) {
    SCOPED_TRACE(line);
    const std::string word(line + 3,
                           std::find_if(line + 3, line + strlen(line), [](char c) { return c == '=' || c == '?'; }));
    for (const auto& [service, diagnosis, open] :
         {std::tuple<char, char, bool>{0, 0, true}, {1, 0, false}, {2, 1, true}}) {
      set_modes(service, diagnosis);
      const auto seen =
          records_of([&, open = open] { EXPECT_EQ(run(line), open ? "ERROR" : "need enter diag mode first | ERROR"); });
      EXPECT_EQ(seen.has_part("AT", word + " check diag mode fail "), !open) << seen;
      EXPECT_EQ(seen.has_part("AT", " refused"), open) << seen;
    }
    unlink(kModesPath);
    const auto seen = records_of([&] { EXPECT_EQ(run(line), "ERROR"); });
    EXPECT_TRUE(seen.has_part("AT", "[VYREL]:vyrel main diag mode NV read failed, ERROR line="));
  }
  set_modes(1, 0);
  EXPECT_EQ(vek_vyrel_is_diag_mode(), 0);
  EXPECT_EQ(answer(), "need enter diag mode first | ERROR");
  EXPECT_NE(run("AT+GTVYREC=0"), "need enter diag mode first | ERROR") << "the embedded controller has no gate";
}

TEST_F(AtCommands, AnswersAreCutWhereTheMessageEnds) {
  EXPECT_EQ(vek_pal_at_send_ipc_response(0, nullptr), 0);
  EXPECT_EQ(answer(), "OK");
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_at_send_ipc_response(1, std::string(9000, 'x').c_str()), 0); });
  EXPECT_EQ(answer(), std::string(8188, 'x') + " | ERROR");
  EXPECT_TRUE(seen.has("AT", "send_length 8192"));
}

TEST_F(AtCommands, ADaemonAnswersOnItsOwn) {
  const struct {
    vek_pal_at_result result;
    const char* answer;
  } rows[] = {
      {{0, "text", 4}, "text | OK"}, {{0, "text", 5}, "text | OK"}, {{0, "text", 2}, "te | OK"}, {{0, "text", 0}, "OK"},
      {{0, nullptr, 4}, "OK"},       {{1, "text", 4}, "ERROR"},     {{-7, nullptr, 0}, "ERROR"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(vek_pal_at_resp(&info_, &row.result), 0);
    EXPECT_EQ(answer(), row.answer);
  }
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_at_resp(nullptr, nullptr), -1); });
  EXPECT_TRUE(seen.has("AT", "at_result is NULL"));
  EXPECT_EQ(answer(), "nothing");
}

TEST(AtUnsolicited, LinesGoOutAsTheyStand) {
  const int listener = bound_socket(SOCK_DGRAM, "/data/vek_pal_fwa.sock");
  EXPECT_EQ(vek_pal_at_send_urc("+GTX: 1"), 0);
  char text[16];
  ASSERT_EQ(recv(listener, text, sizeof text, 0), 7);
  EXPECT_EQ(std::string(text, 7), "+GTX: 1");
  EXPECT_EQ(vek_pal_at_send_urc(""), -1);
  close(listener);
  const auto seen = records_of([] {
    EXPECT_EQ(vek_pal_at_send_urc("x"), -1);
    EXPECT_EQ(vek_pal_at_send_urc(nullptr), -1);
  });
  EXPECT_TRUE(seen.has("AT", "at urc send_length 1"));
  EXPECT_TRUE(seen.has("AT", "send AT urc failed"));
}

TEST_F(AtCommands, RegistrationChecksWhatItIsGiven) {
  const auto take = [](const void*, uint32_t) { return 0; };
  const std::string longest(255, 'n');
  const std::string too_long(256, 'n');
  const struct {
    vek_pal_at_registration registration;
    int result;
    const char* record;
  } rows[] = {
      {{nullptr, 1, 0, take}, 7, "input param is incorrect"},
      {{"x", 0, 0, take}, 7, "input param is incorrect"},
      {{"x", 1, 0, nullptr}, 7, "input param is incorrect"},
      {{"", 1, 0, take}, 7, "AT command name len is incorrect"},
      {{too_long.c_str(), 1, 0, take}, 7, "AT command name len is incorrect"},
      {{"vyrel", 0x1f, 0, take}, 0, "AT CMD: vyrel, id: 0x1f registed success"},
      {{longest.c_str(), -1, 0, take}, 0, "AT CMD id: 0xffffffff"},
  };
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_at_register(&row.registration), row.result); });
    EXPECT_TRUE(seen.has("AT", row.record)) << seen;
  }
  EXPECT_EQ(vek_pal_at_register(nullptr), 7);
  const vek_pal_at_registration plain = {"vyrel", 2, 0, take};
  for (int i = 2; i < 16; i++) EXPECT_EQ(vek_pal_at_register(&plain), 0);
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_at_register(&plain), -1); });
  EXPECT_TRUE(seen.has("AT", "AT CMD: vyrel, id: 0x2 registed failed"));
}

TEST_F(AtCommands, AMessageIsDispatchedWhenThereIsALine) {
  char line[] = "AT+GTVYREN=?";
  info_.callback = callback_;
  const auto seen = records_of([&] {
    vek_pal_at_callbackInner(4, line, sizeof line - 1, &info_);
    EXPECT_EQ(answer(), "+GTVYREN: (0,1) | OK");
    vek_pal_at_callbackInner(4, line, -2, &info_);
    EXPECT_EQ(answer(), "ERROR") << "a message without an id has no line";
    vek_pal_at_callbackInner(4, line, 12, nullptr);
    vek_pal_at_callbackInner(4, nullptr, 0, &info_);
    info_.callback = nullptr;
    vek_pal_at_callbackInner(4, line, 12, &info_);
    EXPECT_EQ(answer(), "nothing");
  });
  EXPECT_TRUE(seen.has("AT", "receive AT raw string AT+GTVYREN=?"));
  EXPECT_TRUE(seen.has("AT", "at_info is NULL"));
  EXPECT_TRUE(seen.has("AT", "AT command Callback is NULL or req_data is NULL"));
  EXPECT_TRUE(seen.has_part("AT", "AT command Callback: 0x"));
}
