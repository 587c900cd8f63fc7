#include "modem/at/atr/host_filter.h"

#include "at_host.h"
#include "records.h"

namespace {

std::string g_asked;
uint32_t g_sizes[2];
std::string g_agent_answer;

}  // namespace

int vek_vyrel_mbim_filter_cmd_msg_callback(const char* command, uint32_t command_size, char* answer,
                                           uint32_t answer_size) {
  g_asked = command;
  g_sizes[0] = command_size;
  g_sizes[1] = answer_size;
  memcpy(answer, g_agent_answer.data(), std::min<size_t>(g_agent_answer.size(), answer_size));
  return 0;
}

class HostFilter : public AtHost {
 protected:
  HostFilter() {
    vyrel_cbb_state = {255, 255};
    g_agent_answer = "\r\nOK\r\n";
  }
};

TEST_F(HostFilter, EachCodeOfTheHostHasItsAction) {
  set_modes(2, 0);
  set_main_switch("1");
  g_agent_answer = "+GTVYRA2D:42\r\nok";
  const struct {
    const char* code;
    const char* asked;  // of the agent
    const char* answer;
    const char* routine;
  } rows[] = {
      {"0,0,0", "", "+GTVYRH2M: 1 | OK", ""},
      {"0,0,1", "", "+GTVYRH2M: 2 | OK", ""},
      {"0,0,2", "AT+GTVYRA2D=2,0\r\n", "+GTVYRH2M: 42 | OK", "work_mode_query"},
      {"0,1,0", "", "+GTVYRH2M: 255 | OK", ""},
      {"1,1,0", "AT+GTVYRA2D=1,0\r\n", "OK", "disable_confirm"},
      {"1,1,1", "AT+GTVYRA2D=1,1\r\n", "OK", "enable_confirm"},
      {"1,1,2", "AT+GTVYRA2D=1,2\r\n", "OK", "busy_flag_confirm"},
      {"2,1,1", "AT+GTVYRA2D=3,1\r\n", "OK", "enduser_event"},
      {"2,1,2", "AT+GTVYRA2D=3,2\r\n", "OK", "uninstall_filter_event"},
      {"2,1,3", "AT+GTVYRA2D=3,3\r\n", "OK", "radio_off_event"},
      {"2,1,4", "AT+GTVYRA2D=3,4\r\n", "OK", "radio_on_event"},
      {"2,1,5", "AT+GTVYRA2D=3,5\r\n", "OK", "try_acquire_lock_event"},
      {"2,1,6", "AT+GTVYRA2D=3,6\r\n", "OK", "release_lock_event"},
      {"2,1,7", "AT+GTVYRA2D=3,7\r\n", "OK", "enduser_notify_event"},
  };
  ASSERT_EQ(std::size(rows), ath_tables_size);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.code);
    const std::string line = std::string("AT+GTVYRH2M=") + row.code;
    g_asked.clear();
    EXPECT_EQ(run(line), row.answer);
    EXPECT_EQ(g_asked, row.asked);
    if (g_asked.empty()) continue;
    EXPECT_EQ(g_sizes[0], 18u);
    EXPECT_EQ(g_sizes[1], 64u);

    const std::string good = std::exchange(g_agent_answer, std::string(64, 'o'));
    const auto seen = records_of([&] { EXPECT_EQ(run(line), "ERROR") << "the agent did not say OK"; });
    EXPECT_TRUE(seen.has_part(
        "AT", "[vyrel filter]: vek_mbim_filter_" + std::string(row.routine) + "_cb at cmd return failed! ERROR line="))
        << seen;
    g_agent_answer = good;
  }
}

TEST_F(HostFilter, ReadsTheAgentsNumberWhereItStands) {
  const struct {
    const char* answer;
    const char* number;
  } rows[] = {
      {"+GTVYRA2D: 7\r\nOK", "7"}, {"OK +GTVYRA2D:8", "8"},          {"OK", "0"},
      {"+GTVYRA2D:x OK", "0"},     {"+GTVYRA2D:99999999999OK", "0"},
  };
  for (const auto& row : rows) {
    g_agent_answer = row.answer;
    EXPECT_EQ(run("AT+GTVYRH2M=0,0,2"), "+GTVYRH2M: " + std::string(row.number) + " | OK") << row.answer;
  }
}

TEST_F(HostFilter, TurnsDownCodesOutsideItsTable) {
  const struct {
    const char* line;
    const char* record;
  } rows[] = {
      {"AT+GTVYRH2M=2,1,8", "[vyrel filter]: params(2-1-8) invalid! ERROR line="},
      {"AT+GTVYRH2M=4294967293,0,0", "[vyrel filter]: params(4294967293-0-0) invalid! ERROR line="},
      {"AT+GTVYRH2M=0,1", "[vyrel filter]: Command parames syntax error! ERROR line="},
      {"AT+GTVYRH2M=0,1,0,0", "[vyrel filter]: Command parames syntax error! ERROR line="},
      {"AT+GTVYRH2M=0,,0", "[vyrel filter]: vek_pal_vyrel_get_GTVYRH2M_params failed! ERROR line="},
      {"AT+GTVYRH2M=0,0,-1", "[vyrel filter]: Parameter parsing failed! ERROR line="},
      {"AT+GTVYRH2M=a,b,c", "[vyrel filter]: Parameter parsing failed! ERROR line="},
      {"AT+GTVYRA2D=1", "[vyrel filter]: Command parames syntax error! ERROR line="},
      {"AT+GTVYRA2D=1,\"2\"", "[vyrel filter]: vek_mbim_filter_get_GTVYRA2D_params failed! ERROR line="},
      {"AT+GTVYRA2D=3,1", "[vyrel filter]: korvane_HandleCmd_GTVYRA2D_set invalid operation params(3)! ERROR line="},
  };
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(run(row.line), "ERROR"); });
    EXPECT_TRUE(seen.has_part("AT", row.record)) << row.line << "\n" << seen;
  }
  EXPECT_EQ(korvane_HandleCmd_GTVYRH2M_set(&info_, nullptr), 0);
}

TEST_F(HostFilter, TheHandshakeStartsTheReports) {
  EXPECT_EQ(run("AT+GTVYRA2D=4,3"), "+GTVYRA2D: 0,2 | OK");
  EXPECT_TRUE(lines_to_host().empty()) << "nobody has asked yet";
  EXPECT_EQ(vyrel_cbb_state.state, 255u);

  EXPECT_EQ(run("AT+GTVYRH2M=0,1,0"), "+GTVYRH2M: 3 | OK");
  EXPECT_EQ(vyrel_cbb_state.state, 1u);
  EXPECT_EQ(run("AT+GTVYRA2D=4,4294967293"), "+GTVYRA2D: 0,1 | OK");
  EXPECT_EQ(lines_to_host(), std::vector<std::string>{"+GTVYRH2M: 0,2,4294967293\r"});
  EXPECT_EQ(run("AT+GTVYRH2M=0,1,0"), "+GTVYRH2M: 4294967293 | OK");

  EXPECT_EQ(run("AT+GTVYRA2D=5,1"), "OK");
  EXPECT_EQ(run("AT+GTVYRA2D=6,0"), "OK");
  EXPECT_EQ(lines_to_host(), (std::vector<std::string>{"+GTVYRH2M: 1,2,1\r", "+GTVYRH2M: 2,2,0\r"}));

  hang_up_mbim();
  const auto seen = records_of([&] {
    for (const char* line : {"AT+GTVYRA2D=4,9", "AT+GTVYRA2D=5,1", "AT+GTVYRA2D=6,1"}) EXPECT_EQ(run(line), "ERROR");
  });
  EXPECT_TRUE(seen.has_part("AT", "[vyrel filter]: send MBIM notify fail! ERROR line="));
  EXPECT_TRUE(seen.has_part("AT", "[vyrel filter]: operation:4-value:9 ERROR line="));
  EXPECT_TRUE(
      seen.has_part("AT", "[vyrel filter]: vek_mbim_filter_devmgr_init_state_indicate filter state is 1 line="));
  EXPECT_EQ(vyrel_cbb_state.value, 9u) << "stored before it is told";
}

TEST_F(HostFilter, WithoutItsSettingsAQueryFails) {
  unlink(kModesPath);
  EXPECT_EQ(run("AT+GTVYRH2M=0,0,1"), "ERROR");
  EXPECT_EQ(run("AT+GTVYRH2M=0,0,0"), "+GTVYRH2M: 0 | OK");
}
