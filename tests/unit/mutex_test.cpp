#include "vek_pal/mutex.h"

#include <gtest/gtest.h>

#include <thread>

#include "records.h"

TEST(Mutex, IsRecursiveForItsOwnerAndBusyForOthers) {
  vek_pal_mutex_t mutex = nullptr;
  ASSERT_EQ(vek_pal_mutex_create(&mutex), 0);
  EXPECT_EQ(vek_pal_mutex_lock(mutex), 0);
  EXPECT_EQ(vek_pal_mutex_lock(mutex), 0);
  EXPECT_EQ(vek_pal_mutex_trylock(mutex), 0);

  const auto busy = records_of([&] { std::thread([&] { EXPECT_EQ(vek_pal_mutex_trylock(mutex), 203); }).join(); });
  EXPECT_TRUE(busy.has_part("MUTEX", "failed cause 16 Device or resource busy"));
  const auto locked = records_of([&] { EXPECT_EQ(vek_pal_mutex_delete(&mutex), -1); });
  EXPECT_TRUE(locked.has_part("MUTEX", "Delete 0x"));
  EXPECT_TRUE(locked.has_part("MUTEX", " failed!"));
  ASSERT_NE(mutex, nullptr);

  for (int i = 0; i < 3; i++) EXPECT_EQ(vek_pal_mutex_unlock(mutex), 0);
  const auto not_owner = records_of([&] { EXPECT_EQ(vek_pal_mutex_unlock(mutex), -1); });
  EXPECT_TRUE(not_owner.has_part("MUTEX", "failed cause: 1 Operation not permitted"));
  EXPECT_EQ(vek_pal_mutex_delete(&mutex), 0);
  EXPECT_EQ(mutex, nullptr);
}

TEST(Mutex, TurnsDownNullHandles) {
  vek_pal_mutex_t none = nullptr;
  EXPECT_EQ(vek_pal_mutex_create(nullptr), 7);
  EXPECT_EQ(vek_pal_mutex_lock(none), 7);
  EXPECT_EQ(vek_pal_mutex_trylock(none), 7);
  EXPECT_EQ(vek_pal_mutex_unlock(none), 7);
  EXPECT_EQ(vek_pal_mutex_delete(&none), 7);
  EXPECT_EQ(vek_pal_mutex_delete(nullptr), 7);
}
