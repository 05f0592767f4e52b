#include "util/json.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

TEST(Json, ThrowsWhereRapidJsonWouldEndTheProcess) {
  rapidjson::Document document;
  document.Parse("{\"status\":\"a text\"}");

  EXPECT_THAT([&] { document["status"].GetInt(); },
              ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
  EXPECT_THROW(document["missing"].IsInt(), std::logic_error);
}

}  // namespace
