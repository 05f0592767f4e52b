// What the demand history answers, where the test says so instead of a database.
#pragma once

#include <cstdint>
#include <vector>

#include "historydata/historydata.h"

namespace test {

// Makes the next look at a point's history give this flag and append these values.
void AnswerNextRecall(std::int32_t flag, std::vector<ST_SINGLE_POINT_VALUE> values);

}  // namespace test
