// The gateway that most system tests run: its configuration, a small plant, the plant's live values
// and the document that the service must make of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "acquisition/segment.h"
#include "support/configs.h"

namespace test {

inline constexpr char kSerialNumber[] = "TS20240117";

// sys.xml: switched on, with a cloud on this machine. The other attributes are absent, so real data
// are packed every 300 s and uploaded every 60 s; a test may add them.
SysXml SystemFile(int cloudPort);

// sn.xml, the channel template and its definition files:
//
//   channel 1, device 3: AI 1 (0x01030001), DI 0x123 (0x01031123)
//              device 4: ACC 7 (0x01040207)
//   channel 2, device 1: DO 2 (0x02010302), AO 0xAB (0x020104AB)
//
// Loading it takes 0.5 s, a document of it 1.3 s, its compression 1 s.
void WriteExamplePlant();
// The first two alone: sn.xml and a template without channels, which take no time at all.
void WriteEmptyPlant();

// A live value for every point of the plant.
std::vector<SegmentPoint> ExampleValues();
// The documents of these values and of the empty plant; the time reads "2024-03-07 12:05:00".
std::string ExampleDocument(const std::string& timeMark);
std::string EmptyDocument();

}  // namespace test
