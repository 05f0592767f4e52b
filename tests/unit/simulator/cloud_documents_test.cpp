// Which documents the cloud takes from a gateway. Every fault names its place in the document.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "cloud/documents.h"
#include "cloud/fault.h"
#include "cloud/members.h"
#include "cloudclient.h"

namespace {

using cloud::CheckDocument;
using cloud::Endpoint;
using namespace test;

TEST(CloudDocuments, GivesTheRecalledPoints) {
  const cloud::DocumentFacts facts = CheckDocument(Endpoint::kCallData, RecallDocument());

  ASSERT_TRUE(facts.recall);
  EXPECT_EQ(facts.devices, 2U);
  EXPECT_EQ(facts.points, 2U);
  EXPECT_EQ(facts.recall->id, 7);
  EXPECT_THAT(facts.recall->points,
              ::testing::ElementsAre(cloud::RecalledPoint{1,
                                                          3,
                                                          "1123",
                                                          1,
                                                          {{"2024-03-01 08:00:00", "12.500"},
                                                           {"2024-03-01 08:01:00", "12.625"}}},
                                     cloud::RecalledPoint{300, 3, "00AB", 0, {}}));
}

// One change in a sound document, and the place that its fault names.
struct Change {
  std::string from;
  std::string to;
  const char* place;
};

void ExpectFaults(Endpoint endpoint, const std::string& document,
                  const std::vector<Change>& changes) {
  for (const Change& change : changes) {
    SCOPED_TRACE(change.from + " -> " + change.to);
    const std::string text = Replaced(document, change.from, change.to);
    EXPECT_THAT([&] { CheckDocument(endpoint, text); },
                ::testing::ThrowsMessage<cloud::Fault>(::testing::HasSubstr(change.place)));
  }
}

TEST(CloudDocuments, FindsEveryFaultOfRealData) {
  ExpectFaults(Endpoint::kRealData, RealDocument(),
               {{"{\"sn\"", "\"sn\"", "JSON"},
                {"\"values\":[]}]}", "\"values\":[]}]}x", "JSON"},
                {RealDocument(), "[]", "the document"},
                {"\"sn\":\"S1\",", "", "\"sn\""},
                {",\"data\":[", ",\"datum\":[", "\"data\""},
                {RealDocument(), R"({"sn":"S1","data":{}})", "\"data\""},
                {"[{\"groupId\":1,", "[7,{\"groupId\":1,", "\"data[0]\""},
                {"\"groupId\":1,\"eqpId\":3", "\"eqpId\":3,\"groupId\":1", "\"data[0].groupId\""},
                {"\"groupId\":1,", "\"groupId\":\"1\",", "\"data[0].groupId\""},
                {"\"groupId\":12", "\"groupId\":256", "\"data[1].groupId\""},
                {"\"eqpId\":3", "\"eqpId\":-1", "\"data[0].eqpId\""},
                {"\"groupId\":12,\"eqpId\":255", "\"groupId\":1,\"eqpId\":3", "\"data[1]\""},
                {"03-01 10", "13-01 10", "\"data[0].timeMark\""},
                {"03-01 10", "3-1 10", "\"data[0].timeMark\""},
                {"00AB", "00ab", "\"data[0].values[0].pointId\""},
                {"00AB", "000AB", "\"data[0].values[0].pointId\""},
                {"\"12.500\"", "12.5", "\"data[0].values[0].value\""},
                {"12.500", "12.50", "\"data[0].values[0].value\""},
                {"12.500", "123456789012.500", "\"data[0].values[0].value\""},
                {",\"value\":\"12.500\"", "", "\"data[0].values[0].value\""},
                {"12.500\"", "12.500\",\"unit\":\"V\"", "\"data[0].values[0].unit\""},
                {"\"values\":[]}", "\"values\":[],\"a\":0}", "\"data[1].a\""},
                {"]}]}", "]}],\"a\":0}", "\"a\""}});
}

std::string TwentyAlarms() {
  const std::string document = AlarmDocument();
  const std::size_t first = document.find('[') + 1;
  const std::string alarm = document.substr(first, document.size() - first - 2);
  std::string alarms = alarm;
  for (int i = 1; i < 20; ++i) alarms += "," + alarm;
  return alarms;
}

TEST(CloudDocuments, FindsEveryFaultOfAlarmData) {
  const std::string value = "{\"timeMark\":\"2024-03-01 09:59:59\",\"value\":\"1.000\"}";
  ExpectFaults(Endpoint::kAlarmData, AlarmDocument(),
               {{"\"alarmDataType\":0", "\"alarmDataType\":1", "\"alarmDataType\""},
                {"\"groupId\":12", "\"groupId\":256", "\"data[0].groupId\""},
                {"\"eqpId\":3", "\"eqpId\":-1", "\"data[0].eqpId\""},
                {"09:59:59", "24:59:59", "\"data[0].alarmTime\""},
                {"10201", "10202", "\"data[0].alarmType\""},
                {"000A", "00A", "\"data[0].alarmGrade\""},
                {"000A", "0000A", "\"data[0].alarmGrade\""},
                {"000A", "000a", "\"data[0].alarmGrade\""},
                {"000A", "123456789", "\"data[0].alarmGrade\""},
                {"\"flag\":1", "\"flag\":2147483648", "\"data[0].flag\""},
                {"\"alarmDes\"", "\"alarmDesc\"", "\"data[0].alarmDes\""},
                {"(阀值:30.000)", "", "\"data[0].alarmDes\""},
                {"阀值", "阈值", "\"data[0].alarmDes\""},
                {"30.000)", "30.000", "\"data[0].alarmDes\""},
                {"30.000", "30.00", "\"data[0].alarmDes\""},
                {"柜门(阀值:30.000)", std::string(255, 'n'), "\"data[0].alarmDes\""},
                {"\"alarmValues\":[", "\"alarmValues\":[{},", "\"data[0].alarmValues\""},
                {"\"0105\"", "\"010f\"", "\"data[0].alarmValues[0].pointId\""},
                {value, "", "\"data[0].alarmValues[0].values\""},
                {"\"timeMark\":\"2024-03-01 09", "\"timeMark\":\"2024-03-01 10",
                 "\"data[0].alarmValues[0].values[0].timeMark\""},
                {"\"1.000\"", "\"1.00\"", "\"data[0].alarmValues[0].values[0].value\""},
                {"]}]}]}", "]}],\"more\":0}]}", "\"data[0].more\""},
                {AlarmDocument(), R"({"sn":"S1","alarmDataType":0,"data":[]})", "data"},
                {"[{", "[" + TwentyAlarms() + ",{", "data"}});
}

TEST(CloudDocuments, FindsEveryFaultOfRecallData) {
  ExpectFaults(Endpoint::kCallData, RecallDocument(),
               {{"\"id\":7", "\"id\":\"7\"", "\"id\""},
                {"\"id\":7", "\"id\":2147483648", "\"id\""},
                {"\"groupId\":1,", "\"groupId\":\"1\",", "\"data[0].groupId\""},
                {"\"eqpId\":3", "\"eqpId\":2147483648", "\"data[0].eqpId\""},
                {"\"1123\"", "\"123\"", "\"data[0].pointId\""},
                {"\"flag\":0", "\"flag\":\"0\"", "\"data[1].flag\""},
                {"\"flag\":0", "\"flag\":-1", "\"data[1].flag\""},
                {"\"flag\":1", "\"flag\":0", "\"data[0].values\""},
                {",\"values\":[]", "", "\"data[1].values\""},
                {"08:01:00", "08:61:00", "\"data[0].values[1].timeMark\""},
                {"12.625", "12.62", "\"data[0].values[1].value\""},
                {"\"values\":[]}", "\"values\":[],\"unit\":\"V\"}", "\"data[1].unit\""}});
}

TEST(CloudDocuments, TakesValuesOfThreeDecimalsUnlessTheirFieldEndsBefore) {
  for (const char* text : {"-0.000", "1234567890.000", "123456789012.0", "12345678901234"}) {
    EXPECT_TRUE(cloud::IsValueText(text, 14)) << text;
  }
  for (const char* text : {"", "-", ".000", "1", "1.", "1.0000", "+1.000", "1e3", "nan", "1,000",
                           "12345678901.0", "12345678901.000", "123456789.0000"}) {
    EXPECT_FALSE(cloud::IsValueText(text, 14)) << text;
  }
}

}  // namespace
