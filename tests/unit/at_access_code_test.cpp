#include "modem/at/atr/access_code.h"

#include "at_host.h"
#include "records.h"
#include "vek_pal/device_info.h"

namespace {

const char* g_imei = "490154203237518";
int g_imei_result = 0;

// The code of the IMEI above with the exponent 7 and the modulus 253 of the build's presets.
constexpr char kCode[] = "C0040001C9C08000A380A31CC90123";

std::string code_of(const char* imei, uint64_t exponent, uint32_t modulus) {
  char code[vek::at::kCodeSize] = "untouched";
  const bool made = vek::at::access_code(imei, vek::at::digit_codes(exponent, modulus), code);
  EXPECT_EQ(made, code[0] != '\0');
  return code;
}

}  // namespace

// The modem's answer.
// What the modem answers.
int vek_pal_get_imei(char* imei) {
  if (g_imei_result == 0) strcpy(imei, g_imei);
  return g_imei_result;
}

TEST(AccessCode, FollowsTheDigitsOfTheImei) {
  const struct {
    const char* imei;
    uint64_t exponent;
    uint32_t modulus;
    const char* code;
  } rows[] = {
      {"490154203237518", 7, 253, kCode},
      {"0123456789", 1, 256, "00010203040506070809"},
      {"0123456789", 2, 256, "00010409101924314051"},
      {"19", 18446744073709551615u, 256, "0139"},
      {"0123", 5, 2, "00010001"},
      {"4-9 0", 1, 256, "040900"},
      {"", 7, 253, ""},
      {"abc", 7, 253, ""},
      {"123", 0, 253, ""},
      {"123", 7, 1, ""},
      {"123", 7, 257, ""},
      {"12345678901234567890123456789012345", 1, 256,
       "0102030405060708090001020304050607080900010203040506070809000102"},
  };
  for (const auto& row : rows) EXPECT_EQ(code_of(row.imei, row.exponent, row.modulus), row.code) << row.imei;
}

class AccessGate : public AtHost {
 protected:
  ~AccessGate() override {
    g_imei = "490154203237518";
    g_imei_result = 0;
  }
};

TEST_F(AccessGate, OpensForTheCodeOfThisModuleOnly) {
  const std::string code = kCode;
  const struct {
    std::string argument;
    const char* answer;
  } rows[] = {
      {"\"" + code + "\"", "OK"},
      {"\"c0040001c9c08000a380a31cc90123\"", "ERROR"},
      {"\"" + code + "0\"", "ERROR"},
      {"\"" + code.substr(1) + "\"", "ERROR"},
      {"\"" + code.substr(0, 29) + "4\"", "ERROR"},
      {"\"\"", "ERROR"},
      {"\"" + std::string(60, '0') + "\"", "ERROR"},
  };
  set_main_switch("1");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.argument);
    vyrel_auth_flag = 0;
    const bool good = row.answer == std::string("OK");
    const auto seen = records_of([&] { EXPECT_EQ(run("AT+GTAUTHCMD=" + row.argument), row.answer); });
    EXPECT_TRUE(seen.has("AT", "Get IMEI success: 490154203237518"));
    EXPECT_TRUE(seen.has("AT", "RSA code: " + code));
    EXPECT_EQ(seen.has("AT", "RSA code auth failed!"), !good);
    EXPECT_EQ(vyrel_auth_flag, good ? 1 : 0);
    EXPECT_EQ(run("AT+GTVYRSER=1"), row.answer);
  }
}

TEST_F(AccessGate, StaysShutForArgumentsThatAreNoCode) {
  const std::string too_long = "\"" + std::string(61, '0') + "\"";
  for (const std::string& argument :
       {std::string(kCode), std::string("1"), std::string(), std::string("\"a\",\"b\""), too_long}) {
    SCOPED_TRACE(argument);
    const auto seen = records_of([&] { EXPECT_EQ(run("AT+GTAUTHCMD=" + argument), "ERROR"); });
    EXPECT_TRUE(seen.has("AT", "Parameter parsing failed!"));
  }
  EXPECT_EQ(vyrel_auth_flag, 0);
}

TEST_F(AccessGate, NoImeiNoCode) {
  const struct {
    int result;
    const char* imei;
    const char* record;
  } rows[] = {{-1, "", "Get IMEI fail!"}, {0, "", "IMEI is NULL!"}, {0, "x", "RSA code auth failed!"}};
  for (const auto& row : rows) {
    g_imei_result = row.result;
    g_imei = row.imei;
    for (const char* argument : {"\"\"", "\"C0\"", "\"00\""}) {
      const auto seen = records_of([&] { EXPECT_EQ(run(std::string("AT+GTAUTHCMD=") + argument), "ERROR"); });
      EXPECT_TRUE(seen.has("AT", row.record)) << seen;
    }
  }
  EXPECT_EQ(vyrel_auth_flag, 0);
}
