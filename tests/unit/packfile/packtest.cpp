#include "packtest.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

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

MAP_GROUP_ATTR& Groups() {
  MAP_GROUP_ATTR* groups = nullptr;
  GetCChannelSetInstance().GetAttr(&groups);
  return *groups;
}

struct PipeCloser {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};

}  // namespace

Catalogue::Catalogue() {
  MAP_POINT_ATTR* points = nullptr;
  GetCChannelSetInstance().GetAttr(&points);
  points->clear();
  Groups().clear();
}

Catalogue& Catalogue::Point(std::uint32_t dataId, const std::string& name) {
  ST_POINTID_ATTR point{};
  util::CopyText(point.Name, name);
  point.GroupNo = static_cast<std::uint8_t>(dataId >> 24);
  point.DevId = static_cast<std::uint8_t>(dataId >> 16);
  point.db_link = dataId;
  GetCChannelSetInstance().AddSamplePoint(point);
  return *this;
}

Catalogue& Catalogue::Device(std::uint8_t channel, std::uint8_t device) {
  Groups()[channel][device];
  return *this;
}

Catalogue& Catalogue::Channel(std::uint8_t channel) {
  Groups()[channel];
  return *this;
}

void LoadSerial(const std::string& serial) {
  WriteSnXml("Ostra-7K", serial);
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
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
  const std::unique_ptr<std::FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
  std::string output;
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get())) {
    output += static_cast<char>(c);
  }
  return output;
}

std::string Members(const std::string& archive) {
  return Shell("tar -tzf " + archive);
}

std::string Unpack(const std::string& archive) {
  return Shell("tar -xzOf " + archive);
}

void PackTest::SetUp() {
  GatewayTest::SetUp();
  m_path = std::getenv("PATH");
  Catalogue();
  LoadSerial("BR0042");
  fs::create_directories(kDirectory);
}

void PackTest::TearDown() {
  setenv("PATH", m_path.c_str(), 1);
  fs::remove_all(kReplacementDirectory);
  GatewayTest::TearDown();
}

Packed PackTest::Pack(Real_Data_Struct values, std::time_t when) {
  Packed packed;
  packed.result =
      GetCPackFileInstance().CreateRealDataJsonFile(&values, kDirectory, &packed.files, when);
  return packed;
}

}  // namespace test
