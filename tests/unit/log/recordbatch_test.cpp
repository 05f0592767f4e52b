// The batches of a record thread. An end is final, so every test has a store of its own.
#include "log/recordbatch.h"

#include <gtest/gtest.h>

namespace {

TEST(RecordBatch, BeginsNoMoreAfterTheEnd) {
  struct Store {};

  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(RecordBatch<Store>::TryEnd());
    EXPECT_FALSE(RecordBatch<Store>());
  }
}

TEST(RecordBatch, RefusesTheEndWhileItIsUnderWay) {
  struct Store {};
  {
    const RecordBatch<Store> batch;
    EXPECT_FALSE(RecordBatch<Store>::TryEnd());
    EXPECT_FALSE(RecordBatch<Store>::TryEnd());
    EXPECT_TRUE(batch);
  }

  for (int i = 0; i < 2; ++i) EXPECT_TRUE(RecordBatch<Store>());
}

TEST(RecordBatch, LeavesOtherStoresAlone) {
  struct Ended {};
  struct Other {};

  RecordBatch<Ended>::TryEnd();

  EXPECT_TRUE(RecordBatch<Other>());
}

}  // namespace
