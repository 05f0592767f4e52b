// The gateway of most system tests: its configuration, a small plant, live values and the document
// that the service makes of them.
#pragma once

#include <string>
#include <vector>

#include "acquisition/segment.h"
#include "support/configs.h"

namespace test {

inline constexpr char kSerialNumber[] = "TS20240117";

// Seconds. Without a recall interval nothing is recalled.
struct Intervals {
  int realData = 300;
  int alarms = 30;
  int upload = 60;
  int recall = 0;
};
// sys.xml: switched on, with a cloud on this machine.
SysXml SystemFile(int cloudPort, const Intervals& intervals = {});

// sn.xml, the channel template and its definition files:
//
//   channel 1, device 3: AI 1 (0x01030001), DI 0x123 (0x01031123)
//              device 4: ACC 7 (0x01040207)
//   channel 2, device 1: DO 2 (0x02010302), AO 0xAB (0x020104AB)
//
// The service takes 0.5 s to load it, 1.3 s for a document and 1 s for its compression.
void WriteExamplePlant();
// sn.xml and a template without channels, which the service loads in no time.
void WriteEmptyPlant();

// A live value for every point of the example plant.
std::vector<SegmentPoint> ExampleValues();
// The document of these values; the time reads "2024-03-07 12:05:00". The document of an empty
// plant.
std::string ExampleDocument(const std::string& timeMark);
std::string EmptyDocument();

}  // namespace test
