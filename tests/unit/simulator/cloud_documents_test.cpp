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
using cloud::DocumentFacts;
using cloud::Endpoint;
using test::AlarmDocument;
using test::RealDocument;
using test::RecallDocument;
using test::Replaced;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

std::string Alarms(std::size_t count) {
  const std::string document = AlarmDocument();
  const std::size_t first = document.find('[') + 1;
  const std::string alarm = document.substr(first, document.size() - first - 2);
  std::string alarms;
  for (std::size_t i = 0; i < count; ++i) alarms += (i == 0 ? "" : ",") + alarm;
  return document.substr(0, first) + alarms + "]}";
}

TEST(CloudDocuments, CountsDevicesAndPoints) {
  const DocumentFacts real = CheckDocument(Endpoint::kRealData, RealDocument());
  const DocumentFacts alarms = CheckDocument(Endpoint::kAlarmData, Alarms(20));

  EXPECT_EQ(real.serialNumber, "S1");
  EXPECT_EQ(real.devices, 2U);
  EXPECT_EQ(real.points, 2U);
  EXPECT_EQ(alarms.devices, 1U);
  EXPECT_EQ(alarms.points, 20U);
}

TEST(CloudDocuments, GivesTheRecalledPoints) {
  const DocumentFacts facts = CheckDocument(Endpoint::kCallData, RecallDocument());

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
                ThrowsMessage<cloud::Fault>(HasSubstr(change.place)));
  }
}

TEST(CloudDocuments, FindsEveryFaultOfRealData) {
  ExpectFaults(Endpoint::kRealData, RealDocument(),
               {{"{\"sn\"", "\"sn\"", "JSON"},
                {"\"values\":[]}]}", "\"values\":[]}]}x", "JSON"},
                {RealDocument(), "[]", "the document"},
                {"\"sn\":\"S1\",", "", "\"sn\""},
                {"\"S1\"", "1", "\"sn\""},
                {",\"data\":[", ",\"datum\":[", "\"data\""},
                {RealDocument(), R"({"sn":"S1","data":{}})", "\"data\""},
                {"[{\"groupId\":1,", "[7,{\"groupId\":1,", "\"data[0]\""},
                {"\"groupId\":1,\"eqpId\":3", "\"eqpId\":3,\"groupId\":1", "\"data[0].groupId\""},
                {"\"groupId\":1,", "\"groupId\":\"1\",", "\"data[0].groupId\""},
                {"\"groupId\":1,", "\"groupId\":1.5,", "\"data[0].groupId\""},
                {"\"groupId\":12", "\"groupId\":256", "\"data[1].groupId\""},
                {"\"eqpId\":3", "\"eqpId\":-1", "\"data[0].eqpId\""},
                {"\"groupId\":12,\"eqpId\":255", "\"groupId\":1,\"eqpId\":3", "\"data[1]\""},
                {"03-01 10", "13-01 10", "\"data[0].timeMark\""},
                {"03-01 10", "3-1 10", "\"data[0].timeMark\""},
                {"00AB", "00ab", "\"data[0].values[0].pointId\""},
                {"00AB", "AB", "\"data[0].values[0].pointId\""},
                {"00AB", "000AB", "\"data[0].values[0].pointId\""},
                {"\"12.500\"", "12.5", "\"data[0].values[0].value\""},
                {"12.500", "12.50", "\"data[0].values[0].value\""},
                {"12.500", "123456789012.500", "\"data[0].values[0].value\""},
                {",\"value\":\"12.500\"", "", "\"data[0].values[0].value\""},
                {"12.500\"", "12.500\",\"unit\":\"V\"", "\"data[0].values[0].unit\""},
                {"\"values\":[]}", "\"values\":[],\"a\":0}", "\"data[1].a\""},
                {"]}]}", "]}],\"a\":0}", "\"a\""}});
}

TEST(CloudDocuments, FindsEveryFaultOfAlarmData) {
  const std::string value = "{\"timeMark\":\"2024-03-01 09:59:59\",\"value\":\"1.000\"}";
  ExpectFaults(Endpoint::kAlarmData, AlarmDocument(),
               {{"\"alarmDataType\":0", "\"alarmDataType\":1", "\"alarmDataType\""},
                {"\"alarmDataType\":0,", "", "\"alarmDataType\""},
                {"\"groupId\":12", "\"groupId\":256", "\"data[0].groupId\""},
                {"\"eqpId\":3", "\"eqpId\":-1", "\"data[0].eqpId\""},
                {"09:59:59", "24:59:59", "\"data[0].alarmTime\""},
                {"10201", "10202", "\"data[0].alarmType\""},
                {"\"10201\"", "10201", "\"data[0].alarmType\""},
                {"000A", "00A", "\"data[0].alarmGrade\""},
                {"000A", "0000A", "\"data[0].alarmGrade\""},
                {"000A", "000a", "\"data[0].alarmGrade\""},
                {"000A", "123456789", "\"data[0].alarmGrade\""},
                {"\"flag\":1", "\"flag\":\"1\"", "\"data[0].flag\""},
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
                {AlarmDocument(), Alarms(0), "data"},
                {AlarmDocument(), Alarms(21), "data"}});
}

TEST(CloudDocuments, FindsEveryFaultOfRecallData) {
  ExpectFaults(Endpoint::kCallData, RecallDocument(),
               {{"\"id\":7", "\"id\":\"7\"", "\"id\""},
                {"\"id\":7,", "", "\"id\""},
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

// Things that look odd but that a gateway really sends.
TEST(CloudDocuments, TakesOddSoundDocuments) {
  const std::vector<std::pair<Endpoint, std::string>> rows = {
      {Endpoint::kRecallCheck, R"({"sn":""})"},
      {Endpoint::kRealData, R"({"sn":"S1","data":[]})"},
      {Endpoint::kRealData, Replaced(RealDocument(), "12.500", "12345678901234")},
      {Endpoint::kAlarmData, Replaced(AlarmDocument(), "10201", "")},
      {Endpoint::kAlarmData, Replaced(AlarmDocument(), "000A", "12345678")},
      {Endpoint::kAlarmData, Replaced(AlarmDocument(), "\"flag\":1", "\"flag\":-2147483648")},
      {Endpoint::kAlarmData, Replaced(AlarmDocument(), "柜门", "")},
      {Endpoint::kAlarmData, Replaced(AlarmDocument(), "柜门(阀值:30.000)", std::string(254, 'n'))},
      {Endpoint::kAlarmData, Replaced(AlarmDocument(), "1.000", std::string(200, '9') + ".000")},
      {Endpoint::kCallData, R"({"sn":"S1","id":7,"data":[]})"},
      {Endpoint::kCallData, Replaced(RecallDocument(), "\"flag\":0", "\"flag\":2")}};

  for (const auto& [endpoint, document] : rows) {
    EXPECT_NO_THROW(CheckDocument(endpoint, document)) << document;
  }
  for (const char* type :
       {"10000", "10001", "10100", "10101", "10200", "10201", "10300", "10301"}) {
    EXPECT_NO_THROW(CheckDocument(Endpoint::kAlarmData, Replaced(AlarmDocument(), "10201", type)))
        << type;
  }
}

TEST(CloudDocuments, SurvivesAnyDepthOfNesting) {
  EXPECT_THROW(CheckDocument(Endpoint::kRealData, std::string(500000, '[')), cloud::Fault);
}

TEST(CloudDocuments, TakesValuesOfThreeDecimalsUnlessTheirFieldEndsBefore) {
  constexpr std::size_t kField = 14;

  for (const char* text : {"0.000", "-0.000", "1234567890.000", "12345678901.00", "123456789012.0",
                           "1234567890123.", "12345678901234", "-2345678901234"}) {
    EXPECT_TRUE(cloud::IsValueText(text, kField)) << text;
  }
  for (const char* text : {"", "-", ".000", "1", "1.", "1.0000", "+1.000", "1e3", "inf", "nan",
                           "1,000", "12345678901.000", "123456789.0000"}) {
    EXPECT_FALSE(cloud::IsValueText(text, kField)) << text;
  }
}

}  // namespace
