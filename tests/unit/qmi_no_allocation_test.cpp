// A request takes no memory: what one needs lies on its thread's stack or was there since the connection was opened.
#include <gtest/gtest.h>
#include <limits.h>

#include "failing_heap.h"
#include "fake_modem.h"
#include "vek_pal.h"

namespace {

int allocations_of(const std::function<int()>& call, int times) {
  failing_heap::g_heap = {.under_test = true, .left = INT_MAX};
  int failures = 0;
  for (int i = 0; i < times; i++) failures += call() != 0;
  failing_heap::g_heap.under_test = false;
  EXPECT_EQ(failures, 0);
  return failing_heap::g_heap.allocations;
}

}  // namespace

TEST(QmiRequest, AllocatesNothingOnceItsClientIsOpen) {
  FakeModem modem;
  constexpr uint8_t kDms = 0x02;
  modem.on(kDms, 0x2D, [](const auto&) { return kSuccess + hex("01 0100 00"); });
  modem.on(kDms, 0x2E, [](const auto&) { return kSuccess; });
  vek_pal_log_set_level(1);

  int state = 0;
  const auto get = [&] { return vek_pal_get_radio_state(&state); };
  const auto set = [] { return vek_pal_set_radio_state(1); };
  EXPECT_GT(allocations_of(get, 1), 0) << "opening takes some: the count sees what is taken";
  EXPECT_EQ(state, 1);
  EXPECT_EQ(allocations_of(get, 1000), 0);
  EXPECT_EQ(allocations_of(set, 1000), 0);
}
