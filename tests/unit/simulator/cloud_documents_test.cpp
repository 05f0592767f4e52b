// Which documents the cloud takes from a gateway, and what it says about the others.
#include <gmock/gmock.h>

#include "cloud/documents.h"
#include "cloud/fault.h"
#include "cloud/textforms.h"
#include "cloudclient.h"

namespace {

using cloud::CheckDocument;
using cloud::DocumentFacts;
using cloud::Endpoint;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

TEST(CloudDocuments, CountsDevicesAndPointsOfRealData) {
  const DocumentFacts facts = CheckDocument(Endpoint::kRealData, test::RealDocument());

  EXPECT_EQ(facts.serialNumber, "S1");
  EXPECT_EQ(facts.devices, 2U);
  EXPECT_EQ(facts.points, 2U);
}

TEST(CloudDocuments, CountsDevicesAndAlarmsOfAlarmData) {
  const DocumentFacts facts = CheckDocument(Endpoint::kAlarmData, test::AlarmDocument());

  EXPECT_EQ(facts.devices, 1U);
  EXPECT_EQ(facts.points, 1U);
}

TEST(CloudDocuments, CountsDevicesAndPointsOfRecallData) {
  const DocumentFacts facts = CheckDocument(Endpoint::kCallData, test::RecallDocument());

  EXPECT_EQ(facts.devices, 2U);
  EXPECT_EQ(facts.points, 2U);
}

// What it is for: a document that a gateway may well send.
struct SoundDocument {
  const char* name;
  Endpoint endpoint;
  std::string text;
};

void PrintTo(const SoundDocument& row, std::ostream* out) {
  *out << row.text;
}

class CloudSoundDocuments : public ::testing::TestWithParam<SoundDocument> {};

TEST_P(CloudSoundDocuments, AreTaken) {
  EXPECT_NO_THROW(CheckDocument(GetParam().endpoint, GetParam().text));
}

std::string Alarms(int count) {
  const std::string document = test::AlarmDocument();
  const std::size_t begin = document.find("{\"groupId\"");
  const std::string alarm = document.substr(begin, document.size() - 2 - begin);
  std::string list;
  for (int i = 0; i < count; ++i) list += (i == 0 ? "" : ",") + alarm;
  return document.substr(0, begin) + list + "]}";
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudSoundDocuments,
    ::testing::Values(
        SoundDocument{"Login", Endpoint::kAuthorize, R"({"sn":"S1","applyType":0})"},
        SoundDocument{"RecallCheck", Endpoint::kRecallCheck, R"({"sn":""})"},
        SoundDocument{"NoDevice", Endpoint::kRealData, R"({"sn":"S1","data":[]})"},
        SoundDocument{"ValueCutAtItsField", Endpoint::kRealData,
                      test::Replaced(test::RealDocument(), "12.500", "12345678901234")},
        SoundDocument{"NoAlarmType", Endpoint::kAlarmData,
                      test::Replaced(test::AlarmDocument(), "10201", "")},
        SoundDocument{"LongGrade", Endpoint::kAlarmData,
                      test::Replaced(test::AlarmDocument(), "000A", "12345678")},
        SoundDocument{"NegativeFlag", Endpoint::kAlarmData,
                      test::Replaced(test::AlarmDocument(), "\"flag\":1", "\"flag\":-2147483648")},
        SoundDocument{"NamelessAlarm", Endpoint::kAlarmData,
                      test::Replaced(test::AlarmDocument(), "柜门", "")},
        SoundDocument{
            "DescriptionCutAtItsField", Endpoint::kAlarmData,
            test::Replaced(test::AlarmDocument(), "柜门(阀值:30.000)", std::string(254, 'n'))},
        SoundDocument{
            "LongAlarmValue", Endpoint::kAlarmData,
            test::Replaced(test::AlarmDocument(), "1.000", std::string(200, '9') + ".000")},
        SoundDocument{"TwentyAlarms", Endpoint::kAlarmData, Alarms(20)},
        SoundDocument{"NothingRecalled", Endpoint::kCallData, R"({"sn":"S1","id":7,"data":[]})"},
        SoundDocument{"AnotherFlag", Endpoint::kCallData,
                      test::Replaced(test::RecallDocument(), "\"flag\":0", "\"flag\":2")}),
    [](const auto& row) { return row.param.name; });

// What it is for: one thing changed in a sound document, and the words for it.
struct Change {
  const char* name;
  const char* from;
  const char* to;
  const char* fault;
};

void PrintTo(const Change& row, std::ostream* out) {
  *out << row.from << " -> " << row.to;
}

class CloudRealDataFaults : public ::testing::TestWithParam<Change> {};

TEST_P(CloudRealDataFaults, AreSaidInWords) {
  const std::string text = test::Replaced(test::RealDocument(), GetParam().from, GetParam().to);

  EXPECT_THAT([&] { CheckDocument(Endpoint::kRealData, text); },
              ThrowsMessage<cloud::Fault>(HasSubstr(GetParam().fault)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudRealDataFaults,
    ::testing::Values(
        Change{"NoJson", "{\"sn\"", "\"sn\"", "the document is not JSON from byte 4"},
        Change{"NoSerialNumber", "\"sn\":\"S1\",", "", "\"sn\" is missing"},
        Change{"SerialNumberNoText", "\"S1\"", "1", "\"sn\" is not a string"},
        Change{"OtherOrder", "\"groupId\":1,\"eqpId\":3", "\"eqpId\":3,\"groupId\":1",
               "\"data[0].groupId\" is missing, \"eqpId\" stands in its place"},
        Change{"NoData", ",\"data\":[", ",\"datum\":[", "\"data\" is missing"},
        Change{"DeviceNoObject", "[{\"groupId\":1,", "[7,{\"groupId\":1,",
               "\"data[0]\" is not an object"},
        Change{"GroupIsText", "\"groupId\":1,", "\"groupId\":\"1\",",
               "\"data[0].groupId\" is not a whole number"},
        Change{"GroupHasDecimals", "\"groupId\":1,", "\"groupId\":1.5,",
               "\"data[0].groupId\" is not a whole number"},
        Change{"GroupOutOfRange", "\"groupId\":12", "\"groupId\":256",
               "\"data[1].groupId\" is not 0 to 255"},
        Change{"DeviceTwice", "\"groupId\":12,\"eqpId\":255", "\"groupId\":1,\"eqpId\":3",
               "\"data[1]\" is a device for the second time"},
        Change{"NoSuchTime", "03-01 10", "13-01 10", "\"data[0].timeMark\" is not a time"},
        Change{"TimeWithoutZeros", "03-01 10", "3-1 10", "\"data[0].timeMark\" is not a time"},
        Change{"ValueIsNumber", "\"12.500\"", "12.5",
               "\"data[0].values[0].value\" is not a string"},
        Change{"TwoDecimals", "12.500", "12.50", "is not a number with three decimals"},
        Change{"NoNumber", "12.500", "nan", "is not a number with three decimals"},
        Change{"ValueTooLong", "12.500", "123456789012.500", "is not a number with three decimals"},
        Change{"PointInLowerCase", "00AB", "00ab", "is not four upper-case hexadecimal digits"},
        Change{"PointTooShort", "00AB", "AB", "is not four upper-case hexadecimal digits"},
        Change{"ValueMissing", ",\"value\":\"12.500\"", "",
               "\"data[0].values[0].value\" is missing"},
        Change{"OneMemberMore", "\"value\":\"12.500\"", "\"value\":\"12.500\",\"unit\":\"V\"",
               "\"data[0].values[0].unit\" does not belong there"},
        Change{"SomethingBehind", "\"values\":[]}]}", "\"values\":[]}]}x", "not JSON"}),
    [](const auto& row) { return row.param.name; });

class CloudAlarmDataFaults : public ::testing::TestWithParam<Change> {};

TEST_P(CloudAlarmDataFaults, AreSaidInWords) {
  const std::string text = test::Replaced(test::AlarmDocument(), GetParam().from, GetParam().to);

  EXPECT_THAT([&] { CheckDocument(Endpoint::kAlarmData, text); },
              ThrowsMessage<cloud::Fault>(HasSubstr(GetParam().fault)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudAlarmDataFaults,
    ::testing::Values(
        Change{"OtherDataType", "\"alarmDataType\":0", "\"alarmDataType\":1",
               "\"alarmDataType\" is not 0 to 0"},
        Change{"OtherTypeCode", "10201", "10202", "\"data[0].alarmType\" is no alarm type code"},
        Change{"DataTypeMissing", "\"alarmDataType\":0,", "",
               "\"alarmDataType\" is missing, \"data\" stands in its place"},
        Change{"GroupOutOfRange", "\"groupId\":12", "\"groupId\":256",
               "\"data[0].groupId\" is not 0 to 255"},
        Change{"GroupIsText", "\"groupId\":12", "\"groupId\":\"12\"",
               "\"data[0].groupId\" is not a whole number"},
        Change{"DeviceOutOfRange", "\"eqpId\":3", "\"eqpId\":-1",
               "\"data[0].eqpId\" is not 0 to 255"},
        Change{"OtherOrder", "\"groupId\":12,\"eqpId\":3", "\"eqpId\":3,\"groupId\":12",
               "\"data[0].groupId\" is missing, \"eqpId\" stands in its place"},
        Change{"TypeIsNumber", "\"10201\"", "10201", "\"data[0].alarmType\" is not a string"},
        Change{"ShortGrade", "000A", "00A", "\"data[0].alarmGrade\" is not four or more"},
        Change{"PaddedGrade", "000A", "0000A", "\"data[0].alarmGrade\" is not four or more"},
        Change{"GradeInLowerCase", "000A", "000a", "\"data[0].alarmGrade\" is not four or more"},
        Change{"GradeTooLong", "000A", "123456789", "\"data[0].alarmGrade\" is not four or more"},
        Change{"FlagIsText", "\"flag\":1", "\"flag\":\"1\"",
               "\"data[0].flag\" is not a whole number"},
        Change{"FlagOutOfRange", "\"flag\":1", "\"flag\":2147483648",
               "\"data[0].flag\" is not -2147483648 to 2147483647"},
        Change{"NoThreshold", "(阀值:30.000)", "", "\"data[0].alarmDes\" does not end like"},
        Change{"OtherLabel", "阀值", "阈值", "\"data[0].alarmDes\" does not end like"},
        Change{"ThresholdNotClosed", "30.000)", "30.000", "\"data[0].alarmDes\" does not end like"},
        Change{"ThresholdOfTwoDecimals", "30.000", "30.00",
               "\"data[0].alarmDes\" does not end like"},
        Change{"OtherTimeOfTheValue", "\"timeMark\":\"2024-03-01 09:59:59\"",
               "\"timeMark\":\"2024-03-01 10:00:00\"",
               "\"data[0].alarmValues[0].values[0].timeMark\" is not the alarm's time"},
        Change{"PointInLowerCase", "\"0105\"", "\"010f\"",
               "\"data[0].alarmValues[0].pointId\" is not four upper-case"},
        Change{"ValueIsNumber", "\"1.000\"", "1.000",
               "\"data[0].alarmValues[0].values[0].value\" is not a string"},
        Change{"ValueIsNoNumber", "\"1.000\"", "\"nan\"",
               "\"data[0].alarmValues[0].values[0].value\" is not a number"},
        Change{"TwoPoints", "\"alarmValues\":[", "\"alarmValues\":[{},",
               "\"data[0].alarmValues\" does not have exactly one element"},
        Change{"OneMemberMore", "]}]}]}", "]}],\"more\":0}]}",
               "\"data[0].more\" does not belong there"},
        Change{"NoDescription", "\"alarmDes\"", "\"alarmDesc\"", "\"data[0].alarmDes\" is missing"},
        Change{"NoSuchTime", "09:59:59", "24:59:59", "\"data[0].alarmTime\" is not a time"},
        Change{"NoValue", "{\"timeMark\":\"2024-03-01 09:59:59\",\"value\":\"1.000\"}", "",
               "\"data[0].alarmValues[0].values\" does not have exactly one element"}),
    [](const auto& row) { return row.param.name; });

class CloudAlarmType : public ::testing::TestWithParam<const char*> {};

TEST_P(CloudAlarmType, IsTaken) {
  const std::string text = test::Replaced(test::AlarmDocument(), "10201", GetParam());

  EXPECT_NO_THROW(CheckDocument(Endpoint::kAlarmData, text));
}

INSTANTIATE_TEST_SUITE_P(Rows, CloudAlarmType,
                         ::testing::Values("10000", "10001", "10100", "10101", "10200", "10201",
                                           "10300", "10301"));

class CloudRecallDataFaults : public ::testing::TestWithParam<Change> {};

TEST_P(CloudRecallDataFaults, AreSaidInWords) {
  const std::string text = test::Replaced(test::RecallDocument(), GetParam().from, GetParam().to);

  EXPECT_THAT([&] { CheckDocument(Endpoint::kCallData, text); },
              ThrowsMessage<cloud::Fault>(HasSubstr(GetParam().fault)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudRecallDataFaults,
    ::testing::Values(
        Change{"IdIsText", "\"id\":7", "\"id\":\"7\"", "\"id\" is not a whole number"},
        Change{"IdMissing", "\"id\":7,", "", "\"id\" is missing, \"data\" stands in its place"},
        Change{"IdOutOfRange", "\"id\":7", "\"id\":2147483648",
               "\"id\" is not -2147483648 to 2147483647"},
        Change{"GroupIsText", "\"groupId\":1,", "\"groupId\":\"1\",",
               "\"data[0].groupId\" is not a whole number"},
        Change{"OtherOrder", "\"groupId\":1,\"eqpId\":3", "\"eqpId\":3,\"groupId\":1",
               "\"data[0].groupId\" is missing, \"eqpId\" stands in its place"},
        Change{"PointTooShort", "\"1123\"", "\"123\"",
               "\"data[0].pointId\" is not four upper-case"},
        Change{"FlagIsText", "\"flag\":0", "\"flag\":\"0\"",
               "\"data[1].flag\" is not a whole number"},
        Change{"ValuesMissing", ",\"values\":[]", "", "\"data[1].values\" is missing"},
        Change{"ValueIsNumber", "\"12.625\"", "12.625",
               "\"data[0].values[1].value\" is not a string"},
        Change{"TwoDecimals", "12.625", "12.62", "is not a number with three decimals"},
        Change{"OneMemberMore", "\"values\":[]}", "\"values\":[],\"unit\":\"V\"}",
               "\"data[1].unit\" does not belong there"},
        Change{"NegativeFlag", "\"flag\":0", "\"flag\":-1", "\"data[1].flag\" is not 0 to "},
        Change{"ValuesWithoutFlag", "\"flag\":1", "\"flag\":0",
               "\"data[0].values\" is not empty although \"flag\" is not 1"},
        Change{"NoSuchTime", "08:01:00", "08:61:00",
               "\"data[0].values[1].timeMark\" is not a time"}),
    [](const auto& row) { return row.param.name; });

TEST(CloudDocuments, RefusesADescriptionThatExceedsItsField) {
  const std::string text =
      test::Replaced(test::AlarmDocument(), "柜门(阀值:30.000)", std::string(255, 'n'));

  EXPECT_THAT([&] { CheckDocument(Endpoint::kAlarmData, text); },
              ThrowsMessage<cloud::Fault>(HasSubstr("\"data[0].alarmDes\" does not end like")));
}

TEST(CloudDocuments, GiveTheRecalledPoints) {
  const DocumentFacts facts = CheckDocument(Endpoint::kCallData, test::RecallDocument());

  ASSERT_TRUE(facts.recall);
  EXPECT_EQ(facts.recall->id, 7);
  ASSERT_EQ(facts.recall->points.size(), 2U);
  EXPECT_EQ(facts.recall->points[0].values.size(), 2U);
  EXPECT_EQ(facts.recall->points[1], (cloud::RecalledPoint{300, 3, "00AB", 0, {}}));
}

TEST(CloudDocuments, TakesNoMoreThanTheSerialNumberFromARecallCheck) {
  EXPECT_THAT([] { CheckDocument(Endpoint::kRecallCheck, R"({"sn":1})"); },
              ThrowsMessage<cloud::Fault>(HasSubstr("\"sn\" is not a string")));
  EXPECT_THAT([] { CheckDocument(Endpoint::kRecallCheck, R"({})"); },
              ThrowsMessage<cloud::Fault>(HasSubstr("\"sn\" is missing")));
}

TEST(CloudDocuments, RefusesAnEmptyAlarmFile) {
  EXPECT_THAT([] { CheckDocument(Endpoint::kAlarmData, Alarms(0)); },
              ThrowsMessage<cloud::Fault>(HasSubstr("does not have 1 to 20 alarms")));
}

TEST(CloudDocuments, RefusesMoreThanTwentyAlarms) {
  EXPECT_THAT([] { CheckDocument(Endpoint::kAlarmData, Alarms(21)); },
              ThrowsMessage<cloud::Fault>(HasSubstr("does not have 1 to 20 alarms")));
}

TEST(CloudDocuments, RefusesADocumentThatIsNoObject) {
  EXPECT_THAT([] { CheckDocument(Endpoint::kRealData, "[]"); },
              ThrowsMessage<cloud::Fault>(HasSubstr("\"the document\" is not an object")));
}

TEST(CloudDocuments, RefusesDataThatIsNoArray) {
  EXPECT_THAT([] { CheckDocument(Endpoint::kRealData, R"({"sn":"S1","data":{}})"); },
              ThrowsMessage<cloud::Fault>(HasSubstr("\"data\" is not an array")));
}

TEST(CloudDocuments, RefusesALoginOfAnotherType) {
  EXPECT_THAT([] { CheckDocument(Endpoint::kAuthorize, R"({"sn":"S1","applyType":"0"})"); },
              ThrowsMessage<cloud::Fault>(HasSubstr("\"applyType\" is not a whole number")));
}

TEST(CloudDocuments, SurvivesAnyDepthOfNesting) {
  const std::string deep(500000, '[');

  EXPECT_THAT([&] { CheckDocument(Endpoint::kRealData, deep); },
              ThrowsMessage<cloud::Fault>(HasSubstr("is not JSON")));
}

// What it is for: a value's text in a field of 14 characters.
struct ValueText {
  const char* text;
  bool isValue;
};

void PrintTo(const ValueText& row, std::ostream* out) {
  *out << row.text;
}

class CloudValueText : public ::testing::TestWithParam<ValueText> {};

TEST_P(CloudValueText, HasThreeDecimalsUnlessItsFieldEndsBefore) {
  constexpr std::size_t kField = 14;

  EXPECT_EQ(cloud::IsValueText(GetParam().text, kField), GetParam().isValue);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudValueText,
    ::testing::Values(ValueText{"0.000", true}, ValueText{"-0.000", true}, ValueText{"", false},
                      ValueText{"-", false}, ValueText{".000", false}, ValueText{"1", false},
                      ValueText{"1.", false}, ValueText{"1.0000", false},
                      ValueText{"+1.000", false}, ValueText{"1e3", false}, ValueText{"inf", false},
                      ValueText{"1,000", false}, ValueText{"1234567890.000", true},
                      ValueText{"12345678901.00", true}, ValueText{"123456789012.0", true},
                      ValueText{"1234567890123.", true}, ValueText{"12345678901234", true},
                      ValueText{"-2345678901234", true}, ValueText{"12345678901.000", false},
                      ValueText{"123456789.0000", false}));

}  // namespace
