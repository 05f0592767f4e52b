// The batches of a record thread. An end is final, so every test has a store of its own.
#include "log/recordbatch.h"

#include <gtest/gtest.h>

namespace {

TEST(RecordBatch, BeginsNoMoreAfterTheEndOfItsStore) {
  struct Ended {};
  struct Other {};

  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(RecordBatch<Ended>::TryEnd());
    EXPECT_FALSE(RecordBatch<Ended>());
    EXPECT_TRUE(RecordBatch<Other>());
  }
}

TEST(RecordBatch, RefusesTheEndWhileItIsUnderWay) {
  struct Store {};

  for (int i = 0; i < 2; ++i) {
    const RecordBatch<Store> batch;
    EXPECT_TRUE(batch);
    EXPECT_FALSE(RecordBatch<Store>::TryEnd());
    EXPECT_FALSE(RecordBatch<Store>::TryEnd());
  }
}

}  // namespace
