#include "vek_pal/memory.h"

#include <gtest/gtest.h>

#include "records.h"

TEST(Memory, TurnsDownWhatHasNoSize) {
  const auto seen = records_of([] {
    EXPECT_EQ(vek_pal_malloc(0), nullptr);
    EXPECT_EQ(vek_pal_calloc(0, 8), nullptr);
    EXPECT_EQ(vek_pal_calloc(8, 0), nullptr);
    EXPECT_EQ(vek_pal_realloc(nullptr, 0), nullptr);
    vek_pal_free(nullptr);
  });
  ASSERT_EQ(seen.all.size(), 5u);
  for (int i = 0; i < 3; i++) EXPECT_EQ(seen.all[static_cast<size_t>(i)].text, "input param error!");
  EXPECT_EQ(seen.all[3].text, "input param error! realloc space of size zero");
  EXPECT_EQ(seen.all[3].mask, 0x08u);
  EXPECT_EQ(seen.all[4].text, "ptr no need to free!");
  EXPECT_EQ(seen.all[4].mask, 0x02u);
}
