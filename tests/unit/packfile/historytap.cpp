#include "historytap.h"

#include <optional>
#include <utility>

// CHistoryData::GetRecallFlag, and what stands in its place, under their names for the linker.
std::int32_t
RealRecallFlag(CHistoryData* self, std::uint32_t dataId, const ST_SINGLE_CALL_POINT* point, std::vector<ST_SINGLE_POINT_VALUE>* values) __asm__(
    "__real__ZN12CHistoryData13GetRecallFlagEjPK20ST_SINGLE_CALL_POINTPSt6vectorI21ST_"
    "SINGLE_POINT_VALUESaIS4_EE");
std::int32_t
TappedRecallFlag(CHistoryData* self, std::uint32_t dataId, const ST_SINGLE_CALL_POINT* point, std::vector<ST_SINGLE_POINT_VALUE>* values) __asm__(
    "__wrap__ZN12CHistoryData13GetRecallFlagEjPK20ST_SINGLE_CALL_POINTPSt6vectorI21ST_"
    "SINGLE_POINT_VALUESaIS4_EE");

namespace test {
namespace {

struct HistoryAnswer {
  std::int32_t flag;
  std::vector<ST_SINGLE_POINT_VALUE> values;
};

std::optional<HistoryAnswer>& Next() {
  static std::optional<HistoryAnswer> next;
  return next;
}

}  // namespace

void AnswerNextRecall(std::int32_t flag, std::vector<ST_SINGLE_POINT_VALUE> values) {
  Next() = HistoryAnswer{flag, std::move(values)};
}

}  // namespace test

std::int32_t TappedRecallFlag(CHistoryData* self, std::uint32_t dataId,
                              const ST_SINGLE_CALL_POINT* point,
                              std::vector<ST_SINGLE_POINT_VALUE>* values) {
  const auto answer = std::exchange(test::Next(), std::nullopt);
  if (!answer) return RealRecallFlag(self, dataId, point, values);
  values->insert(values->end(), answer->values.begin(), answer->values.end());
  return answer->flag;
}
