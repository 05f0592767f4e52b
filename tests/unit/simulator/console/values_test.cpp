#include "console/watch/values.h"

#include "unit/simulator/console/watchfixture.h"

namespace test {
namespace {

using console::Values;

constexpr std::uint32_t kLevel = 0x01030001;

// One configured point, "1/3:0001".
class ValuesTest : public WatchTest {
 protected:
  void SetUp() override {
    WatchTest::SetUp();
    m_values.TakePoints(status::LoadConfiguration(status::Place()));
  }
  void Publish(std::time_t when, std::map<std::uint32_t, double> values) {
    m_values.TakePublished({status::Known(true), status::Known(std::move(values))}, when, 60);
  }
  void Receive(std::time_t stamp, const std::string& value) {
    m_values.TakeReceived(stamp,
                          R"({"sn":"T","data":[{"groupId":1,"eqpId":3,"timeMark":"","values":)"
                          R"([{"pointId":"0001","value":")" +
                              value + R"("}]}]})");
  }
  // The values of a row as text: "12.5", "null".
  std::string Row(const char* row, std::time_t now) const {
    const console::Reply reply =
        m_values.ReplySeries({.query = {{"ids", "1/3:0001"}, {"minutes", "60"}}}, now);
    rapidjson::Document json;
    json.Parse(reply.body.c_str());
    std::string text;
    for (const auto& pair : json["series"][0][row].GetArray()) {
      text +=
          util::Format("%lld=%s ", static_cast<long long>(pair[0].GetInt64()),
                       pair[1].IsNull() ? "null" : util::Format("%g", pair[1].GetDouble()).c_str());
    }
    return text;
  }

  Values m_values{[](std::uint32_t dataId, std::time_t from, std::time_t) {
    return std::vector<console::AlarmMark>{{from + 1, util::Format("%08x", dataId), true}};
  }};
};

TEST_F(ValuesTest, ListsTheConfiguredPointsWithTheirValues) {
  Publish(6000, {{kLevel, 12.5}});

  rapidjson::Document json;
  json.Parse(m_values.ReplyPoints().body.c_str());

  ASSERT_EQ(json["points"].Size(), 1U);
  const auto& point = json["points"][0];
  EXPECT_STREQ(point["id"].GetString(), "1/3:0001");
  EXPECT_EQ(point["data_id"].GetUint(), kLevel);
  EXPECT_STREQ(point["device"].GetString(), "Pump 1");
  EXPECT_STREQ(point["name"].GetString(), "Level");
  EXPECT_STREQ(point["type"].GetString(), "AI");
  EXPECT_STREQ(point["unit"].GetString(), "m");
  EXPECT_EQ(point["value"].GetDouble(), 12.5);
}

TEST_F(ValuesTest, KeepsOneSampleAnInterval) {
  Publish(6000, {{kLevel, 1}});
  Publish(6030, {{kLevel, 2}});
  Publish(6061, {{kLevel, 3}});

  EXPECT_EQ(Row("published", 6100), "6000=1 6061=3 ");
}

TEST_F(ValuesTest, ShowsAPointWithoutAValueAsAGap) {
  Publish(6000, {{kLevel, 1}});
  Publish(6060, {});

  EXPECT_EQ(Row("published", 6100), "6000=1 6060=null ");
}

TEST_F(ValuesTest, ShowsMissingFilesAsAGap) {
  Receive(6000, "1.500");
  Receive(6300, "2.500");

  EXPECT_EQ(Row("received", 6400), "6000=1.5 6060=null 6300=2.5 ");
}

TEST_F(ValuesTest, GivesOnlyTheSpanThatIsAskedFor) {
  Receive(6000, "1");
  Receive(9600, "2");

  EXPECT_EQ(Row("received", 9660), "9600=2 ");
}

TEST_F(ValuesTest, KeepsABoundedNumberOfSamples) {
  for (int i = 0; i < 700; ++i) Receive(60L * i, "1");

  const std::string row = Row("received", 60L * 700);
  const console::Reply all =
      m_values.ReplySeries({.query = {{"ids", "1/3:0001"}, {"minutes", "100000"}}}, 60L * 700);
  rapidjson::Document json;
  json.Parse(all.body.c_str());
  EXPECT_EQ(json["series"][0]["received"].Size(), 600U);
}

TEST_F(ValuesTest, IgnoresDocumentsThatAreNone) {
  for (const char* text :
       {"", "[", "{}", R"({"data":1})", R"({"data":[1,{"groupId":"x"}]})",
        R"({"data":[{"groupId":1,"eqpId":3,"values":[{"pointId":1,"value":"1"}]}]})"}) {
    m_values.TakeReceived(6000, text);
  }

  EXPECT_THAT(Row("received", 6100), testing::AnyOf("", "6000=null "));
}

TEST_F(ValuesTest, MarksAlarmsOfThePoint) {
  const console::Reply reply =
      m_values.ReplySeries({.query = {{"ids", "1/3:0001"}, {"minutes", "1"}}}, 6060);
  rapidjson::Document json;
  json.Parse(reply.body.c_str());

  const auto& mark = json["series"][0]["alarms"][0];
  EXPECT_EQ(mark["unix_s"].GetInt(), 6001);
  EXPECT_STREQ(mark["text"].GetString(), "01030001");
  EXPECT_TRUE(mark["raised"].GetBool());
}

TEST(DataIdOf, ReadsChannelDeviceAndPoint) {
  EXPECT_EQ(console::DataIdOf("1/3:1123"), 0x01031123U);
  EXPECT_EQ(console::DataIdOf("255/255:FFFF"), 0xFFFFFFFFU);
  for (const char* id :
       {"", "1", "1/3", "1:3", "256/3:1", "1/256:1", "1/3:10000", "1/3:", "a/3:1"}) {
    EXPECT_FALSE(console::DataIdOf(id)) << id;
  }
}

}  // namespace
}  // namespace test
