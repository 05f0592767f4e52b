// The request frames byte by byte: packed, in this order, on every build.
#include "http/frames.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

constexpr std::size_t kPointer = sizeof(void*);

struct Field {
  const char* name;
  std::size_t offset;
  std::size_t expected;
};

void PrintTo(const Field& field, std::ostream* out) {
  *out << field.name << " at " << field.offset;
}

class FrameField : public ::testing::TestWithParam<Field> {};

TEST_P(FrameField, StandsRightBehindTheOneBeforeIt) {
  EXPECT_EQ(GetParam().offset, GetParam().expected);
}

using Memory = ST_FRAME_MEMORY_UPLOAD;
INSTANTIATE_TEST_SUITE_P(
    MemoryUpload, FrameField,
    ::testing::Values(Field{"url", offsetof(Memory, url), 0},
                      Field{"fileType", offsetof(Memory, fileType), 128},
                      Field{"method", offsetof(Memory, method), 144},
                      Field{"body", offsetof(Memory, body), 160},
                      Field{"bodyLength", offsetof(Memory, bodyLength), 20640},
                      Field{"answerCallback", offsetof(Memory, answerCallback), 20642},
                      Field{"readCallback", offsetof(Memory, readCallback), 20642 + kPointer},
                      Field{"callbackData", offsetof(Memory, callbackData), 20642 + 2 * kPointer},
                      Field{"successFlag", offsetof(Memory, successFlag), 20642 + 3 * kPointer},
                      Field{"end", sizeof(Memory), 20646 + 3 * kPointer}),
    [](const auto& test) { return test.param.name; });

using File = ST_FRAME_FILE_UPLOAD;
INSTANTIATE_TEST_SUITE_P(
    FileUpload, FrameField,
    ::testing::Values(Field{"url", offsetof(File, url), 0},
                      Field{"fileType", offsetof(File, fileType), 128},
                      Field{"method", offsetof(File, method), 144},
                      Field{"filePath", offsetof(File, filePath), 160},
                      Field{"answerCallback", offsetof(File, answerCallback), 288},
                      Field{"readCallback", offsetof(File, readCallback), 288 + kPointer},
                      Field{"reserved", offsetof(File, reserved), 288 + 2 * kPointer},
                      Field{"successFlag", offsetof(File, successFlag), 288 + 3 * kPointer},
                      Field{"end", sizeof(File), 292 + 3 * kPointer}),
    [](const auto& test) { return test.param.name; });

static_assert(std::is_same_v<decltype(Memory::bodyLength), std::uint16_t>);
static_assert(std::is_same_v<decltype(Memory::successFlag), std::int32_t>);
static_assert(std::is_same_v<decltype(File::successFlag), std::int32_t>);

}  // namespace
