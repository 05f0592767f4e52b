#include <gtest/gtest.h>

#include <string>

#include "print/print.h"
#include "printfacts.h"
#include "support/gateway.h"
#include "util/json.h"

using status::Facts;
using status::Verdict;

namespace {

class JsonTextTest : public test::GatewayTest {};

rapidjson::Document Parsed(const Facts& facts, const Verdict& verdict) {
  const std::string text = status::JsonText(facts, verdict);
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
  EXPECT_FALSE(document.HasParseError()) << text;
  return document;
}

// The member at "a/b/0/c", as compact JSON.
std::string At(const rapidjson::Document& document, const std::string& path) {
  const rapidjson::Value* value = &document;
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string key = path.substr(begin, end - begin);
    begin = end + 1;
    if (value->IsArray()) {
      value = &(*value)[static_cast<rapidjson::SizeType>(std::stoi(key))];
    } else if (value->HasMember(key.c_str())) {
      value = &(*value)[key.c_str()];
    } else {
      return "none";
    }
  }
  rapidjson::StringBuffer text;
  rapidjson::Writer writer(text);
  value->Accept(writer);
  return text.GetString();
}

void ExpectReasons(const rapidjson::Value& value, const std::string& path);

void ExpectReasonsOfMembers(const rapidjson::Value& object, const std::string& path) {
  for (const auto& member : object.GetObject()) {
    const std::string name = member.name.GetString();
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_"), std::string::npos);
    if (member.value.IsNull()) {
      const std::string reason = name + "_reason";
      ASSERT_TRUE(object.HasMember(reason.c_str())) << path << name;
      EXPECT_STRNE(object[reason.c_str()].GetString(), "") << path << name;
    }
    ExpectReasons(member.value, path + name + "/");
  }
}

// Every null has its reason, and every key is in snake case.
void ExpectReasons(const rapidjson::Value& value, const std::string& path) {
  if (value.IsObject()) ExpectReasonsOfMembers(value, path);
  if (value.IsArray())
    for (const auto& element : value.GetArray()) ExpectReasons(element, path + "[]/");
}

struct MemberRow {
  const char* path;
  const char* value;
};

}  // namespace

TEST_F(JsonTextTest, HoldsWhatIsKnown) {
  Facts facts = test::PrintedFacts();
  facts.configuration.faults = {
      {status::Cost::kPart, "BRN-CONFIG-X", "/tessel/Config/a.xml", 7, "a fault"}};
  facts.configuration.files = {"/tessel/Config/sys.xml"};
  facts.unpublished = status::Known(std::vector<std::uint32_t>{0x01031123});
  facts.logs.login.succeeded = status::Evidence{facts.now - 10, "login ok", "1122_log.txt:3"};
  Verdict verdict = test::PrintedVerdict();
  verdict.findings[0].since = facts.now - 60;

  const auto document = Parsed(facts, verdict);

  const MemberRow rows[] = {
      {"schema", "1"},
      {"version", "\"" BRENNIK_VERSION "\""},
      {"now_time", "\"2026-11-22T12:00:00+08:00\""},
      {"now_unix_seconds", "1795320000"},
      {"root", "\"/\""},
      {"verdict", R"({"level":"CRITICAL","exit_status":2,"text":"the card is full"})"},
      {"findings/0/code", "\"BRN-CARD-FULL\""},
      {"findings/0/text", "\"the card is full\""},
      {"findings/0/since", "\"2026-11-22T11:59:00+08:00\""},
      {"findings/0/since_unix_seconds", "1795319940"},
      {"findings/0/remedy", "\"rm\""},
      {"findings/0/evidence", "\"df\""},
      {"road/0", R"({"name":"card","state":"good","text":"present"})"},
      {"road/1/state", "\"not_judged\""},
      {"results/newest_accepted_unix_seconds", "1795319940"},
      {"results/newest_accepted_age_seconds", "60"},
      {"results/oldest_pending_age_seconds", "120"},
      {"results/pending_files", "1"},
      {"card/device_present", "true"},
      {"card/free_bytes", "1000"},
      {"card/total_inodes", "200"},
      {"configuration/serial_number", "\"TS20240117\""},
      {"configuration/faults/0/line", "7"},
      {"configuration/faults/0/cost", "\"part\""},
      {"configuration/files/0", "\"/tessel/Config/sys.xml\""},
      {"process/pid", "42"},
      {"process/running", "true"},
      {"process/started_unix_seconds", "1795316400"},
      {"segment/values", "1"},
      {"segment/first_unpublished_points", R"(["01031123"])"},
      {"ledger/state", "\"good\""},
      {"ledger/real_data/accepted_files", "177"},
      {"ledger/all/oldest_pending_file", "\"alarmdata/22/T20261122115800.tar.gz\""},
      {"ledger/all/newest_accepted_unix_seconds", "1795319940"},
      {"cloud/login/works", "true"},
      {"cloud/login/succeeded/where", "\"1122_log.txt:3\""},
      {"logs/text_records", "7"},
      {"logs/intervals/real_data_seconds", "60"},
  };
  for (const MemberRow& row : rows) EXPECT_EQ(At(document, row.path), row.value) << row.path;
}

TEST_F(JsonTextTest, GivesAReasonForEverythingUnknown) {
  Facts unknown;
  unknown.card.device = status::Unknown<bool>("a copy has no device");
  unknown.ledger.state = status::LedgerState::kBusy;

  const auto document = Parsed(unknown, test::PrintedVerdict());

  ExpectReasons(document, "");
  EXPECT_EQ(At(document, "card/device_present_reason"), "\"a copy has no device\"");
  EXPECT_EQ(At(document, "findings/0/since"), "null");
  EXPECT_EQ(At(document, "findings/0/since_reason"), "\"no log\"");
  EXPECT_EQ(At(document, "ledger/all/pending_files"), "null");
  EXPECT_EQ(At(document, "cloud/login/works"), "null");
  EXPECT_EQ(At(document, "segment/first_unpublished_points"), "null");
}

TEST_F(JsonTextTest, HasNoFaultsOfACopyWithoutAConfiguration) {
  Facts facts = test::PrintedFacts();
  facts.place = status::Place("/tessel/c");
  facts.configuration = {};
  facts.configuration.faults = {{status::Cost::kStart, "BRN-CONFIG-SYSTEM", "", 0, "is missing"}};

  const auto document = Parsed(facts, test::PrintedVerdict());

  ExpectReasons(document, "");
  EXPECT_EQ(At(document, "configuration/starts"), "null");
  EXPECT_EQ(At(document, "configuration/points_reason"), "\"the copy has no configuration\"");
  EXPECT_EQ(At(document, "configuration/faults"), "[]");
}

TEST_F(JsonTextTest, IsValidUtf8WhateverTheFactsHold) {
  Facts facts = test::PrintedFacts();
  facts.logs.address = "a\xff\xc3(\"\\\n";
  facts.configuration.serial = std::string("TS\0\x01", 4);

  const auto document = Parsed(facts, test::PrintedVerdict());

  EXPECT_EQ(At(document, "cloud/address"), R"("a\\xff\\xc3(\"\\\n")");
  EXPECT_EQ(At(document, "configuration/serial_number"), R"("TS\u0000\u0001")");
}

TEST_F(JsonTextTest, IsPrintedWithTwoBlanksAndALineEnd) {
  const std::string text = status::JsonText(test::PrintedFacts(), test::PrintedVerdict());

  EXPECT_TRUE(text.starts_with("{\n  \"schema\": 1,\n")) << text.substr(0, 40);
  EXPECT_TRUE(text.ends_with("\n}\n"));
}
