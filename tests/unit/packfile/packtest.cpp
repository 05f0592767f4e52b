#include "packtest.h"

#include <cstdlib>
#include <filesystem>

#include "config/channelset.h"
#include "config/snset.h"
#include "support/configs.h"
#include "support/files.h"
#include "util/paths.h"
#include "util/text.h"

namespace fs = std::filesystem;

namespace test {
namespace {

constexpr char kReplacementDirectory[] = "/tmp/replacement";
constexpr char kShellOutput[] = "/tmp/output";

}  // namespace

void AddPoint(std::uint32_t dataId, const std::string& name) {
  ST_POINTID_ATTR point{};
  util::CopyText(point.Name, name);
  point.GroupNo = static_cast<std::uint8_t>(dataId >> 24);
  point.DevId = static_cast<std::uint8_t>(dataId >> 16);
  point.db_link = dataId;
  GetCChannelSetInstance().AddSamplePoint(point);
}

std::vector<std::string> Texts(const std::string& document, const std::string& key) {
  std::vector<std::string> texts;
  const std::string mark = "\"" + key + "\":\"";
  for (auto at = document.find(mark); at != std::string::npos; at = document.find(mark, at + 1)) {
    const auto from = at + mark.size();
    texts.push_back(document.substr(from, document.find('"', from) - from));
  }
  return texts;
}

void ReplaceTar(const std::string& script) {
  const std::string path = std::string(kReplacementDirectory) + "/tar";
  WriteFile(path,
            "#!/bin/sh\nreal_tar() { PATH=${PATH#*:} command tar \"$@\"; }\n" + script + "\n");
  fs::permissions(path, fs::perms::owner_all);
  const std::string commands = std::string(kReplacementDirectory) + ":" + std::getenv("PATH");
  setenv("PATH", commands.c_str(), 1);
}

std::string Shell(const std::string& command) {
  EXPECT_EQ(std::system(("(" + command + ") > " + kShellOutput).c_str()), 0) << command;
  return ReadFile(kShellOutput);
}

std::string Unpack(const std::string& archive) {
  return Shell("tar -xzOf " + archive);
}

void PackTest::SetUp() {
  GatewayTest::SetUp();
  m_path = std::getenv("PATH");
  MAP_GROUP_ATTR* groups = nullptr;
  GetCChannelSetInstance().GetAttr(&groups);
  groups->clear();
  MAP_POINT_ATTR* points = nullptr;
  GetCChannelSetInstance().GetAttr(&points);
  points->clear();
  WriteSnXml("Ostra-7K", "BR0042");
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
  for (const auto* directory : {kRealDataDay, kAlarmDay, kRecalls}) {
    fs::create_directories(directory);
  }
}

void PackTest::TearDown() {
  setenv("PATH", m_path.c_str(), 1);
  fs::remove_all(kReplacementDirectory);
  GatewayTest::TearDown();
}

}  // namespace test
