// RapidJSON with the service's assertion.
#include "util/json.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

TEST(Json, ThrowsWhereRapidJsonWouldEndTheProcess) {
  rapidjson::Document document;
  document.Parse("{\"status\":\"a text\"}");

  EXPECT_THAT([&] { document["status"].GetInt(); },
              ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
}

TEST(Json, ThrowsAlsoForAMissingMember) {
  rapidjson::Document document;
  document.Parse("{}");

  EXPECT_THAT([&] { document["status"].IsInt(); },
              ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
}

TEST(Json, ReadsWhatIsThere) {
  rapidjson::Document document;
  document.Parse("{\"status\":7}");

  EXPECT_EQ(document["status"].GetInt(), 7);
}

}  // namespace
