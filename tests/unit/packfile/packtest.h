// What the tests of the data files share: a catalogue, a serial number, a tar that misbehaves.
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "packfile/packfile.h"
#include "support/clock.h"
#include "support/gateway.h"

namespace test {

inline constexpr char kDirectory[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7";
inline constexpr char kText[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.dat";
inline constexpr char kArchive[] =
    "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307120000.tar.gz";

inline constexpr Pause kAfterADevice{100000};
inline constexpr Pause kAfterAChannel{500000};
inline constexpr Pause kBeforeAnAttempt{1000000};

// The process's channel catalogue: `Catalogue().Point(0x01031123).Device(2, 1);`, empty at first.
class Catalogue {
 public:
  Catalogue();
  Catalogue& Point(std::uint32_t dataId, const std::string& name = "");
  // A device without points, a channel without devices.
  Catalogue& Device(std::uint8_t channel, std::uint8_t device);
  Catalogue& Channel(std::uint8_t channel);
};

// Makes it the gateway's serial number.
void LoadSerial(const std::string& serial);

// Puts a script of the shell in the place of tar; `$2` is the archive. A script may call the real
// one as `real_tar "$@"`.
void ReplaceTar(const std::string& script);

// What a shell command prints.
std::string Shell(const std::string& command);
// The names in an archive, and the content of its one member, as tar sees them.
std::string Members(const std::string& archive);
std::string Unpack(const std::string& archive);

// The outcome of one call.
struct Packed {
  int result = 0;
  std::vector<std::string> files;
};

// What it is for: tests of real-data files, each with the serial number BR0042, an empty catalogue
// and the directory of the day.
class PackTest : public GatewayTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Packs a snapshot of now, or of another moment.
  static Packed Pack(Real_Data_Struct values, std::time_t when = std::time(nullptr));

 private:
  std::string m_path;  // where commands are looked for
};

}  // namespace test
