// The batches of a record thread. What is ended stays ended, so every test has a store of its own.
#include "log/recordbatch.h"

#include <gtest/gtest.h>

namespace {

TEST(RecordBatch, BeginsOneAfterTheOther) {
  struct Store {};

  const bool first = static_cast<bool>(RecordBatch<Store>());
  const bool second = static_cast<bool>(RecordBatch<Store>());

  EXPECT_TRUE(first);
  EXPECT_TRUE(second);
}

TEST(RecordBatch, CannotBeEndedWhileItIsUnderWay) {
  struct Store {};
  const RecordBatch<Store> batch;

  EXPECT_FALSE(RecordBatch<Store>::TryEnd());
  EXPECT_FALSE(RecordBatch<Store>::TryEnd());

  EXPECT_TRUE(batch);
}

TEST(RecordBatch, CanBeEndedWhenItIsOver) {
  struct Store {};
  { const RecordBatch<Store> batch; }

  EXPECT_TRUE(RecordBatch<Store>::TryEnd());
}

TEST(RecordBatch, CanBeEndedBeforeTheFirst) {
  struct Store {};

  EXPECT_TRUE(RecordBatch<Store>::TryEnd());
}

TEST(RecordBatch, LetsTheNextBeginAfterAnEndThatCameTooEarly) {
  struct Store {};
  {
    const RecordBatch<Store> batch;
    RecordBatch<Store>::TryEnd();
  }

  EXPECT_TRUE(RecordBatch<Store>());
}

TEST(RecordBatch, DoesNotBeginOnceTheyHaveEnded) {
  struct Store {};
  { const RecordBatch<Store> batch; }
  RecordBatch<Store>::TryEnd();

  const bool first = static_cast<bool>(RecordBatch<Store>());
  const bool second = static_cast<bool>(RecordBatch<Store>());

  EXPECT_FALSE(first);
  EXPECT_FALSE(second);
}

TEST(RecordBatch, CanBeEndedAgain) {
  struct Store {};
  RecordBatch<Store>::TryEnd();

  EXPECT_TRUE(RecordBatch<Store>::TryEnd());
}

TEST(RecordBatch, OfOneStoreLeavesTheOthersAlone) {
  struct Ended {};
  struct Other {};

  RecordBatch<Ended>::TryEnd();

  EXPECT_TRUE(RecordBatch<Other>());
}

}  // namespace
