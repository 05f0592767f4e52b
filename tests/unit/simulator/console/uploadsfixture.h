// A real cloud with an index, and the console's part that reads it.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "cloud/control.h"
#include "cloud/simulator.h"
#include "console/uploads/uploads.h"
#include "program/control.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "unit/simulator/cloudclient.h"

namespace test {

class UploadsTest : public GatewayTest {
 protected:
  static constexpr char kFolder[] = "/tmp/console";
  static constexpr char kIndex[] = "/tmp/console/cloud.db";
  static constexpr char kControl[] = "/tmp/console/cloud.control";

  void SetUp() override {
    GatewayTest::SetUp();
    Empty(kFolder);
    std::filesystem::create_directories(kFolder);
    const DeviceFile device =
        DeviceFile("pump").Node("AI", 1, "Level", "m").Node("DI", 1, "Running", "");
    device.Write();
    ChannelTemplate().Channel(1).Device(3, device.Path(), {{"Desc", "Pump 1"}}).Write();
    uploads.AddRoutes(router);
  }

  console::Reply Get(const std::string& path,
                     const std::map<std::string, std::string>& query = {}) {
    return router.Gets().at(path)({.query = query});
  }
  // The reply to a GET that must succeed.
  rapidjson::Document Ask(const std::string& path,
                          const std::map<std::string, std::string>& query = {}) {
    const console::Reply reply = Get(path, query);
    EXPECT_EQ(reply.status, 200) << reply.body;
    rapidjson::Document json;
    json.Parse<rapidjson::kParseValidateEncodingFlag>(reply.body.c_str());
    EXPECT_FALSE(json.HasParseError()) << reply.body;
    return json;
  }
  console::Reply Post(const std::string& path, const std::string& body) {
    rapidjson::Document json;
    json.Parse(body.c_str());
    return router.Posts().at(path)({.query = {}, .body = &json});
  }
  // Something to send to the cloud, with its answer left out.
  static void Send(const cloud::Simulator& cloud, const std::string& request) {
    test::Ask(cloud.Port(), request);
  }

  console::Uploads uploads{kIndex, kControl, [] { return std::time(nullptr); }};
  console::Router router;
};

// The texts or numbers under a key of each element of an array.
inline std::vector<std::string> TextsOf(const rapidjson::Value& array, const char* key) {
  std::vector<std::string> texts;
  for (const rapidjson::Value& element : array.GetArray()) {
    const rapidjson::Value& value = element[key];
    if (value.IsNull()) {
      texts.emplace_back("null");
    } else {
      texts.push_back(value.IsString() ? value.GetString() : std::to_string(value.GetInt64()));
    }
  }
  return texts;
}

}  // namespace test
