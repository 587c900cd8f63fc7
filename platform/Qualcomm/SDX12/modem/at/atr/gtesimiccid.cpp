// AT+GTESIMICCID?: the number of the eSIM's enabled profile, asked of the card itself. APDUs of ETSI TS 102 221
// (channels, terminal capability), GlobalPlatform (SELECT, STORE DATA) and GSMA SGP.22 (GetProfilesInfo).
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "common/base/heap_block.h"
#include "log/log.h"
#include "modem/at/atr/answer.h"
#include "modem/at/atr/profiles_info.h"
#include "vek_pal/at.h"
#include "vek_pal/at_client.h"
#include "vek_pal/sim.h"
#include "vek_pal/thread.h"

namespace {

constexpr char kLogTag[] = "AT";
constexpr uint32_t kCommandSize = 65;
constexpr uint32_t kResponseSize = 257;
using vek::at::kIccidDigits;
constexpr int kUsualChannel = 1;
constexpr int kPolls = 6;
constexpr unsigned kPollPauseMs = 1000;

// One exchange with the card after another, over the AT server.
struct Card {
  vek::HeapBlock<char> command{kCommandSize};
  vek::HeapBlock<char> response{kResponseSize};
  int channel = kUsualChannel;

  // 0, or what is missing: 1 the exchange, 2 its "OK", 3 the card's answer in it.
  __attribute__((format(printf, 2, 3))) int exchange(const char* format, ...) const {
    va_list args;
    va_start(args, format);
    vsnprintf(command.get(), kCommandSize, format, args);
    va_end(args);
    LOG_I("esim_at_cmd: %s", command.get());
    memset(response.get(), 0, kResponseSize);
    uint32_t length = 0;
    if (vek_pal_at_send(command.get(), static_cast<uint32_t>(strlen(command.get())), response.get(), kResponseSize - 1,
                        &length) != 0)
      return 1;
    if (strstr(response.get(), "OK") == nullptr) return 2;
    return strstr(response.get(), "+CSIM:") == nullptr ? 3 : 0;
  }
};

constexpr int kNoAnswer = 3;

bool send_terminal_capability(const Card& card) {
  const int failed = card.exchange("AT+CSIM=20,\"80AA000005A903830107\"\r\n");
  if (failed == 0 || failed == kNoAnswer) return true;
  LOG_E("send term cap fail %d", failed);
  return FAIL(false, "send termal cap failed!");
}

bool close_channel(const Card& card, int channel) {
  const int failed = card.exchange("AT+CSIM=10,\"007080%02X00\"\r\n", static_cast<unsigned>(channel));
  return failed == 0 || failed == kNoAnswer;
}

bool open_channel(Card& card) {
  const int failed = card.exchange("AT+CSIM=10,\"0070000001\"\r\n");
  if (failed != 0) {
    LOG_E(failed == 1 ? "open apdu channel fail %d" : "open channel excuse fail %d", failed);
    return FAIL(false, "open apdu channel failed!");
  }
  // +CSIM: 6,"019000": the second digit is the channel.
  const char* digit = strchr(strstr(card.response.get(), "+CSIM:"), ',');
  if (digit != nullptr) {
    digit++;
    if (*digit == '"') digit++;
    if (*digit != '\0') digit++;
    LOG_I("channel_id is : %c", *digit);
    if (*digit >= '0' && *digit <= '9') card.channel = *digit - '0';
  }
  LOG_I("current channel id: %d", card.channel);
  return true;
}

bool select_isdr(const Card& card) {
  const int failed = card.exchange("AT+CSIM=44,\"%02XA4040010A0000005591010FFFFFFFF890000010000\"\r\n",
                                   static_cast<unsigned>(card.channel));
  if (failed == 0 || failed == kNoAnswer) return true;
  LOG_E("selete isdr fail %d", failed);
  return FAIL(false, "select isdr failed!");
}

bool get_profiles(const Card& card) {
  const int failed =
      card.exchange("AT+CSIM=26,\"%02XE2910008BF2D045C025A9500\"\r\n", static_cast<unsigned>(card.channel) + 0x80);
  return failed == 0 || FAIL(false, "get profile fail %d", failed);
}

// From the terminal capability to the closed channel.
bool read_iccid(Card& card, char (&iccid)[kIccidDigits + 1]) {
  if (!send_terminal_capability(card)) return false;
  close_channel(card, kUsualChannel);  // in case that an earlier run has left it open
  if (!open_channel(card)) return false;
  const bool answered = select_isdr(card) && get_profiles(card);
  const bool found =
      answered && (vek::at::find_enabled(card.response.get(), iccid) || FAIL(false, "get iccid failed!"));
  // After a failure the usual channel stays open: the next run closes it first.
  if ((answered || card.channel != kUsualChannel) && !close_channel(card, card.channel))
    LOG_E("close apdu channel failed!");
  return found;
}

bool go_to_esim() {
  if (vek_pal_sim_slot_switch(VEK_PAL_SIM_SECOND_SLOT) != 0) return FAIL(false, "switch sim slot 2 failed!");
  for (int poll = 0; poll < kPolls; poll++) {
    vek_pal_thread_msleep(kPollPauseMs);
    if (vek_pal_get_current_sim_slot() == VEK_PAL_SIM_SECOND_SLOT) break;
  }
  return true;
}

// All of it, in the slot where the eSIM answers, and back in the slot that was the active one.
bool query(Card& card, int home, char (&iccid)[kIccidDigits + 1]) {
  const bool away = home == VEK_PAL_SIM_FIRST_SLOT;
  if (away && !go_to_esim()) return false;
  const bool found = read_iccid(card, iccid);
  if (away && vek_pal_sim_slot_switch(home) != 0) {
    LOG_E("switch back slot failed!");
    if (card.channel != kUsualChannel) close_channel(card, card.channel);
    return false;
  }
  return found;
}

void swap_pairs(char (&digits)[kIccidDigits + 1]) {
  for (size_t i = 0; i < kIccidDigits; i += 2) {
    const char first = digits[i];
    digits[i] = digits[i + 1];
    digits[i + 1] = first;
  }
}

}  // namespace

int korvane_HandleCmd_GTESIMICCID_read(const vek_pal_at_info*) {
  Card card;
  if (!card.command) return FAIL(vek::at::kUnanswered, "vek_pal_malloc 1 failed!");
  if (!card.response) return FAIL(vek::at::kUnanswered, "vek_pal_malloc 2 failed!");
  const int home = vek_pal_get_current_sim_slot();
  char iccid[kIccidDigits + 1];
  if (!query(card, home, iccid)) {
    if (home >= 0 && vek_pal_get_current_sim_slot() != home) vek_pal_sim_slot_switch(home);
    return FAIL(vek::at::kUnanswered, "AT+GTESIMICCID? run failed!");
  }
  swap_pairs(iccid);
  LOG_I("ICCID: %s", iccid);
  return vek::at::succeed("+GTESIMICCID: \"%s\"", iccid);
}
