// What the modem reports about the SIM: to whom it is told, and what a slot switch makes of it.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "providers/qmi/services/dms.h"
#include "records.h"
#include "uim_modem.h"
#include "vek_pal/sim.h"

namespace {

using namespace std::chrono_literals;
using Events = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// What the callbacks were told, in order.
class Told {
 public:
  void add(const std::string& event) {
    const std::scoped_lock lock(mutex_);
    events_.push_back(event);
  }
  Events take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(events_, {});
  }

 private:
  std::mutex mutex_;
  Events events_;
};

void on_status(int slot, int status, int zero, void* user) {
  EXPECT_EQ(zero, 0);
  static_cast<Told*>(user)->add("status " + std::to_string(slot) + " " + std::to_string(status));
}
void on_hotplug(int event, void* user) { static_cast<Told*>(user)->add(event == 1 ? "plug-in" : "plug-out"); }

// Returns when the receive thread has dealt with all that was reported before: a client of the test's own hears of it.
void settle() {
  static std::atomic<int> heard = 0;
  static qmi_client_os_params os_params;
  static qmi_client_type client = nullptr;
  if (client == nullptr) {
    ASSERT_EQ(
        qmi_client_init_instance(
            dms_get_service_object_internal_v01(1, 0, 6), kAnyQmiInstance,
            [](qmi_client_type, unsigned, void*, unsigned, void*) { heard++; }, nullptr, &os_params, 3000, &client),
        0);
  }
  const int before = heard;
  modem().send(FakeModem::indication(0x02, *modem().ids(0x02).begin(), 0x01, {}));
  ASSERT_TRUE(eventually([&] { return heard != before; })) << "the callbacks do not come to an end";
}

vek_pal_slot_info_cache& cache() { return *vek_pal_qmi_slot_info_cache_get(); }

class SimEvents : public testing::Test {
 protected:
  // Both callbacks are registered while the module has this in its slots.
  void begin(const std::vector<SlotView>& slots) {
    answer(0x2E, failure(26));
    answer_slots(slots);
    ASSERT_EQ(vek_pal_hotplug_status_indication_register(on_hotplug, &told_), 0);
    ASSERT_EQ(vek_pal_sim_status_indication_register(on_status, &told_), 0);
    told_.take();
  }
  Events told_after(const std::function<void()>& reports) {
    seen_ = records_of([&] {
      reports();
      settle();
    });
    return told_.take();
  }
  ~SimEvents() override {
    settle();
    cache().sim1_switch_flag = cache().sim2_switch_flag = 0;
    cache().switch_wait_type = 3;
  }

  inline static Told told_;
  Records seen_;
};

TEST_F(SimEvents, ACardsStatusIsToldWithTheActiveSlot) {
  constexpr uint8_t kAbsent = 0, kPresent = 1, kError = 2;
  const struct {
    std::vector<SlotView> slots;
    uint8_t card;
    std::vector<AppView> apps;
    Events told;
  } rows[] = {
      {{kSim, kIdleEsim}, kPresent, {{2, 7}}, {"status 0 7"}},
      {{kIdleSim, kEsim}, kPresent, {{2, 7}}, {"status 1 7"}},
      {{kIdleSim, kIdleEsim}, kPresent, {{2, 7}}, {"status 255 7"}},
      {{kSim, kIdleEsim}, kPresent, {{2, 2}}, {"status 0 2"}},
      {{kSim, kIdleEsim}, kPresent, {{5, 1}, {2, 3}}, {"status 0 3"}},
      {{kSim, kIdleEsim}, kAbsent, {}, {"status 0 0"}},
      {{kSim, kIdleEsim}, kError, {{2, 7}}, {"status 0 0"}},
      {{kSim, kIdleEsim}, kPresent, {{2, 1}}, {}},
      {{kSim, kIdleEsim}, kPresent, {{2, 4}}, {}},
      {{kSim, kIdleEsim}, kPresent, {{2, 6}}, {}},
      {{kSim, kIdleEsim}, kPresent, {}, {}},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    SCOPED_TRACE(i);
    begin(rows[i].slots);
    EXPECT_EQ(told_after([&] { report_card(rows[i].card, rows[i].apps); }), rows[i].told);
    EXPECT_TRUE(seen_.has("NET", "UIM indcation coming, ind msg id :0x32")) << seen_;
    EXPECT_TRUE(seen_.has("NET", "card_info_len:1")) << seen_;
    EXPECT_TRUE(seen_.has("NET", "card_info[0].card_state:" + std::to_string(rows[i].card))) << seen_;
  }
}

TEST_F(SimEvents, WhatIsNoStatusIsOnlyRecorded) {
  begin({kSim, kIdleEsim});
  EXPECT_EQ(told_after([] {
              report(0x32, {});
              report(0x32, tlv(0x10, hex("00")));
              report(0x32, hex("10 0500 00"));
              report(0x48, {});
              report(0x48, hex("10"));
              report(0x33, {});
            }),
            Events{});
  EXPECT_TRUE(seen_.has("NET", "UIM status change ind decode failed err :-48")) << seen_;
  EXPECT_TRUE(seen_.has("NET", "unknown the indication msg_id: 51.")) << seen_;
}

TEST_F(SimEvents, ACardInTheFirstSlotComesAndGoes) {
  const SlotView kEsimInFirst = kEsim, kBareEsimInFirst = kBareEsim;
  const struct {
    SlotView before, after;
    Events told;
  } rows[] = {
      {kEmpty, kSim, {"plug-in"}},
      {kEmpty, kEsimInFirst, {"plug-in"}},
      {kEmpty, kBareEsimInFirst, {"plug-in"}},
      {kSim, kEmpty, {"plug-out"}},
      {kSim, kSim, {}},
      {kEmpty, kEmpty, {}},
      {kSim, {.card = 0, .active = true}, {}},
      {kIdleSim, {.card = 2, .atr = ""}, {"plug-out"}},  // present, it says, but nothing has ever answered there
      {kIdleSim, {.card = 2, .apps = 1, .atr = ""}, {}},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    SCOPED_TRACE(i);
    begin({rows[i].before, kIdleEsim});
    EXPECT_EQ(told_after([&] { report_slots({rows[i].after, kIdleEsim}); }), rows[i].told) << seen_;
  }
  begin({kEmpty, kIdleBareEsim});
  told_after([] { report_slots({kSim, kIdleBareEsim}); });
  EXPECT_TRUE(seen_.has("NET", "DSSA:first slot present card_status = 2 app_len = 1slot_state = 1 is_esim = 0"))
      << seen_;
  EXPECT_TRUE(seen_.has("NET", "DSSA:second slot present card_status = 2 app_len = 0slot_state = 0 is_esim = 1"));
  EXPECT_TRUE(seen_.has("NET", "sim1 plugIn"));
  EXPECT_EQ(cache().first.slot_state, 5);
  EXPECT_EQ(cache().second.slot_state, 8);
}

TEST_F(SimEvents, AnEsimThatLosesItsProfileIsToldWhileItIsInUse) {
  begin({kIdleSim, kEsim});
  EXPECT_EQ(told_after([] { report_slots({kIdleSim, kBareEsim}); }), Events{"status 1 6"});
  EXPECT_TRUE(seen_.has("NET", "sim2 no esim profile event"));
  EXPECT_EQ(told_after([] { report_slots({kIdleSim, kBareEsim}); }), Events{}) << "only a change is an event";
  begin({kSim, kIdleEsim});
  EXPECT_EQ(told_after([] { report_slots({kSim, kIdleBareEsim}); }), Events{});
}

TEST_F(SimEvents, FlagsHideWhatASwitchBringsAbout) {
  begin({kSim, kIdleEsim});
  cache().sim2_switch_flag = 1;
  EXPECT_EQ(told_after([] { report_slots({kIdleEmpty, kEsim}); }), Events{});
  EXPECT_TRUE(seen_.has("NET", "sim1 not ready, but Current in swtich to sim2 process"));
  EXPECT_EQ(cache().sim2_switch_flag, 1);
  EXPECT_EQ(told_after([] { report_slots({kIdleSim, kEsim}); }), Events{});
  EXPECT_TRUE(seen_.has("NET", "sim1 ready, but current in swtich to sim2 process"));
  EXPECT_EQ(cache().sim2_switch_flag, 0);
  EXPECT_EQ(told_after([] { report_slots({kIdleEmpty, kEsim}); }), Events{"plug-out"});

  cache().sim1_switch_flag = 1;
  EXPECT_EQ(told_after([] { report_card(0, {}); }), Events{});
  EXPECT_TRUE(seen_.has("NET", "sim1 remove, but current in swtich to sim1 process"));
  EXPECT_EQ(cache().sim1_switch_flag, 0);
  EXPECT_EQ(told_after([] { report_card(0, {}); }), Events{"status 1 0"});
}

TEST_F(SimEvents, ARegistrationThatFailsKeepsTheCallbackBefore) {
  begin({kSim, kIdleEsim});
  const struct {
    int code;
    const char* record;
    std::function<int()> call;
  } rows[] = {
      {-1, "Wrong cb param", [] { return vek_pal_sim_status_indication_register(nullptr, nullptr); }},
      {-1, "Wrong cb param", [] { return vek_pal_hotplug_status_indication_register(nullptr, nullptr); }},
      {-1, "Isn't QMI_ERR_NO_EFFECT_V01", [] { return vek_pal_sim_status_indication_register(on_status, nullptr); }},
      {-1, " qmi_client_send_msg_sync QMI_UIM_EVENT_REG_REQ_V01 fail",
       [] { return vek_pal_hotplug_status_indication_register(on_hotplug, nullptr); }},
  };
  answer(0x2E, failure(3));
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(row.call(), row.code); });
    EXPECT_TRUE(seen.has("NET", row.record)) << seen;
  }
  EXPECT_EQ(told_after([] { report_card(1, {{2, 7}}); }), Events{"status 0 7"});
}

TEST_F(SimEvents, GoOnAfterAModemRestartWithWhatHappenedMeanwhile) {
  begin({kSim, kIdleEsim});
  std::atomic<int> orders = 0;
  modem().on(kUim, 0x2E, [&](const FakeModem::Request& request) {
    EXPECT_EQ(request.tlvs, hex("01 0400 11000000"));
    orders++;
    return kSuccess;
  });
  answer_slots({kEmpty, kIdleEsim});
  std::atomic<int> cards = 0;
  modem().on(kUim, 0x2F, [&](const auto&) {
    cards++;
    return kSuccess + card(0, {});
  });
  modem().restart();
  ASSERT_TRUE(eventually([&] { return cards == 1; })) << "nobody asked again";
  EXPECT_EQ(orders, 1);
  ASSERT_TRUE(eventually([&] { return !modem().ids(0x02).empty(); }));
  settle();
  EXPECT_EQ(told_.take(), (Events{"plug-out", "status 0 0"}));
  EXPECT_EQ(told_after([] { report_slots({kSim, kIdleEsim}); }), Events{"plug-in"});
}

TEST_F(SimEvents, ACallbackMayCallTheLibrary) {
  begin({kSim, kIdleEsim});
  static std::atomic<int> status, slot;
  status = slot = -2;
  answer_card(1, {{2, 7}});
  ASSERT_EQ(vek_pal_sim_status_indication_register(
                [](int, int, int, void*) {
                  EXPECT_EQ(vek_pal_hotplug_status_indication_register(on_hotplug, &told_), 0);
                  slot = vek_pal_get_current_sim_slot();
                  status = vek_pal_get_sim_status();
                },
                nullptr),
            0);
  report_card(1, {{2, 7}});
  EXPECT_TRUE(eventually([] { return status == 7; })) << "the callback's questions are not answered";
  EXPECT_EQ(slot, 0);
}

// --- Waiting ---

TEST_F(SimEvents, ReadinessEndsTheWaitOfAllWhoWait) {
  begin({kSim, kIdleEsim});
  answer_card(1, {{2, 7}});
  const auto at_once = records_of([] { vek_pal_wait_sim_ready_sem(); });
  EXPECT_TRUE(at_once.has("NET", "current sim status: 7.")) << at_once;
  EXPECT_FALSE(at_once.has_part("NET", "sem init"));

  std::atomic<int> asked = 0;
  modem().on(kUim, 0x2F, [&](const auto&) {
    asked++;
    return kSuccess + card(1, {{2, 1}});
  });
  const auto start = Clock::now();
  const auto seen = records_of([&] {
    std::jthread one(vek_pal_wait_sim_ready_sem), two(vek_pal_wait_sim_ready_sem);
    ASSERT_TRUE(eventually([&] { return asked == 2; }));
    std::this_thread::sleep_for(100ms);  // from the answer to the semaphore
    report_card(1, {{2, 1}});
    report_card(1, {{2, 7}});
  });
  EXPECT_LT(Clock::now() - start, 2s) << seen;
  EXPECT_TRUE(seen.has("NET", "sim ready sem init, ret=0."));
  EXPECT_TRUE(seen.has("NET", "somewhere waitting and sim ready,post sem"));
  EXPECT_TRUE(seen.has("NET", "wait sim ready done."));
}

class SlotSwitch : public SimEvents {
 protected:
  // The modem takes the request, and what it reports then comes with its answer.
  void play(const std::function<void()>& reports) {
    modem().on(kUim, 0x46, [this, reports](const FakeModem::Request& request) {
      asked_ = request.tlvs;
      wait_type_ = cache().switch_wait_type;
      report(0x77, {});  // unknown ones do not matter
      reports();
      return kSuccess;
    });
  }
  // The result, if it came in time.
  int switch_to(int slot) {
    const auto start = Clock::now();
    int result = -2;
    seen_ = records_of([&] { result = vek_pal_sim_slot_switch(slot); });
    EXPECT_LT(Clock::now() - start, 3s) << seen_;
    settle();
    return result;
  }

  Bytes asked_;
  std::atomic<int> wait_type_ = -2;
};

TEST_F(SlotSwitch, WaitsForWhatTheOtherSlotPromises) {
  answer_card(1, {{2, 7}});
  const struct {
    std::vector<SlotView> before;
    int to;
    std::vector<SlotView> slots_after;
    std::vector<AppView> apps_after;  // none: the card reports nothing
    int wait_type;
    const char* end;
    Events told;
  } rows[] = {
      {{kSim, kIdleEsim}, 1, {kIdleSim, kEsim}, {{2, 7}}, 0, "switch sim slot and sim ready,post sem", {"status 1 7"}},
      {{kSim, kIdleEsim}, 1, {kIdleSim, kEsim}, {{2, 2}}, 0, "switch sim slot and sim pin,post sem", {"status 1 2"}},
      {{kSim, kIdleEsim}, 1, {kIdleSim, kEsim}, {{2, 3}}, 0, "switch sim slot and sim puk,post sem", {"status 1 3"}},
      {{kSim, kIdleBareEsim}, 1, {kIdleSim, kBareEsim}, {}, 2, "switch sim2 slot and sim2 slot acitve, post sem", {}},
      {{kIdleSim, kEsim}, 0, {kSim, kIdleEsim}, {{2, 7}}, 0, "switch sim slot and sim ready,post sem", {"status 0 7"}},
      {{kIdleEmpty, kEsim}, 0, {kEmpty, kIdleEsim}, {}, 1, "switch sim1 slot and sim1 slot acitve, post sem", {}},
      {{kSim, kIdleEsim}, 0, {kSim, kIdleEsim}, {}, 1, "switch sim1 slot and sim1 slot acitve, post sem", {}},
      {{kIdleSim, kEsim}, 1, {kIdleSim, kEsim}, {}, 2, "switch sim2 slot and sim2 slot acitve, post sem", {}},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    SCOPED_TRACE(i);
    const auto& row = rows[i];
    begin(row.before);
    play([&] {
      report_slots(row.slots_after);
      if (!row.apps_after.empty()) report_card(1, row.apps_after);
    });
    EXPECT_EQ(switch_to(row.to), 0);
    EXPECT_EQ(wait_type_, row.wait_type);
    EXPECT_EQ(asked_, hex(row.to == 0 ? "01 0100 01 02 0400 01000000" : "01 0100 01 02 0400 02000000"));
    EXPECT_TRUE(seen_.has("NET", row.end)) << seen_;
    EXPECT_TRUE(seen_.has("NET", "switch sim slot send successfully"));
    EXPECT_EQ(told_.take(), row.told);
    EXPECT_EQ(cache().switch_wait_type, 3);
    cache().sim1_switch_flag = cache().sim2_switch_flag = 0;
  }
}

TEST_F(SlotSwitch, HidesTheCardThatGoesAndComesOnTheWay) {
  begin({kSim, kIdleEsim});
  play([] {
    report_slots({kIdleEmpty, kEsim});
    report_slots({kIdleSim, kEsim});
    report_card(1, {{2, 7}});
  });
  EXPECT_EQ(switch_to(1), 0);
  EXPECT_EQ(told_.take(), Events{"status 1 7"});
  EXPECT_EQ(cache().sim2_switch_flag, 0);

  answer_slots({kIdleSim, kEsim});
  play([] {
    report_slots({kSim, kIdleEsim});
    report_card(0, {});
    report_card(1, {{2, 1}});
    report_card(1, {{2, 7}});
  });
  EXPECT_EQ(switch_to(0), 0);
  EXPECT_EQ(told_.take(), Events{"status 0 7"});
  EXPECT_EQ(cache().sim1_switch_flag, 0);
}

TEST_F(SlotSwitch, InTheProtectSituationTheCardThatTurnsUpIsNoPlugIn) {
  begin({kEmpty, kIdleBareEsim});
  answer(0x2F, kSuccess + card(0, {}) + hex("11 0300 02 02 00"));
  play([] {
    report_slots({kIdleEmpty, kBareEsim});
    report_slots({kIdleSim, kBareEsim});
  });
  EXPECT_EQ(switch_to(1), 0);
  EXPECT_TRUE(seen_.has("NET", "In SIM protect scene")) << seen_;
  EXPECT_EQ(told_.take(), Events{});
}

TEST_F(SlotSwitch, IsOneAtATime) {
  begin({kSim, kIdleEsim});
  std::atomic<bool> asked = false;
  modem().on(kUim, 0x46, [&](const auto&) {
    asked = true;
    return kSuccess;
  });
  std::jthread first([] { EXPECT_EQ(vek_pal_sim_slot_switch(1), 0); });
  ASSERT_TRUE(eventually([&] { return asked.load(); }));
  EXPECT_EQ(switch_to(0), -1);
  EXPECT_TRUE(seen_.has("NET", "a sim slot switch is under way"));
  report_slots({kIdleSim, kEsim});
  report_card(1, {{2, 7}});
}

TEST_F(SlotSwitch, EndsBeforeTheRequestWhenTheSlotsAreNotKnown) {
  begin({kSim, kIdleEsim});
  answer(0x47, failure(3));
  EXPECT_EQ(switch_to(1), 255);
  EXPECT_EQ(cache().switch_wait_type, 255);
  EXPECT_EQ(switch_to(2), -1);
  EXPECT_EQ(switch_to(-1), -1);
}

TEST(SimProtect, IsACardThatTheLineReportsAndTheModemDoesNotFind) {
  const struct {
    Bytes answered;
    int result;
    const char* record;
  } rows[] = {
      {kSuccess + card(0, {}) + hex("11 0300 02 02 00"), 1, "In SIM protect scene"},
      {kSuccess + card(0, {}) + hex("11 0900 02 02000000 00000000"), 1, "In SIM protect scene"},
      {kSuccess + card(1, {{2, 7}}) + hex("11 0300 02 02 00"), 0, "Not in SIM protect scene"},
      {kSuccess + card(0, {}) + hex("11 0300 02 03 02"), 0, nullptr},
      {kSuccess + card(0, {}) + hex("11 0100 00"), 0, nullptr},
      {kSuccess + card(0, {}), 0, nullptr},
      {kSuccess + hex("11 0300 02 02 00"), 0, "card_status_valid invalid"},
      {failure(3), 255, " qmi_client_send_msg_sync QMI_UIM_GET_CARD_STATUS_REQ_V01 fail"},
  };
  for (size_t i = 0; i < std::size(rows); i++) {
    SCOPED_TRACE(i);
    answer(0x2F, rows[i].answered);
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_check_sim_protect_event(), rows[i].result); });
    if (rows[i].record != nullptr)
      EXPECT_TRUE(seen.has("NET", rows[i].record)) << seen;
    else
      EXPECT_FALSE(seen.has_part("NET", "SIM protect scene")) << seen;
  }
}

TEST(SlotCache, TellsAChangeOnce) {
  vek_pal_slot_info slot = {};
  EXPECT_EQ(vek_pal_qmi_ext_dssa_slot_status_update_cache(&slot, 7), 1);
  EXPECT_EQ(slot.slot_state, 7);
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_qmi_ext_dssa_slot_status_update_cache(&slot, 7), 0); });
  EXPECT_TRUE(seen.has("NET", "cache not changed! current slot_state is 7!"));
  EXPECT_EQ(vek_pal_qmi_ext_dssa_slot_status_update_cache(nullptr, 7), 0);
}

}  // namespace
