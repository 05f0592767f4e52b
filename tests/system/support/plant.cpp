#include "system/support/plant.h"

#include "util/text.h"

namespace test {

SysXml SystemFile(int cloudPort, const Intervals& intervals) {
  SysXml file;
  file.Cloud("checked", "1")
      .Cloud("cloudip", "127.0.0.1")
      .Cloud("port", std::to_string(cloudPort))
      .Cloud("RealDataInv", std::to_string(intervals.realData))
      .Cloud("AlarmDataInv", std::to_string(intervals.alarms))
      .Cloud("FailInterval", std::to_string(intervals.upload));
  if (intervals.recall > 0) file.Cloud("RecallInterval", std::to_string(intervals.recall));
  return file;
}

void WriteExamplePlant() {
  const DeviceFile pump =
      DeviceFile("pump").Node("AI", 1, "Discharge pressure", "bar").Node("DI", 0x123, "Running");
  const DeviceFile meter = DeviceFile("meter").Node("ACC", 7, "Energy", "kWh");
  const DeviceFile valve =
      DeviceFile("valve").Node("AO", 0xAB, "Setpoint", "%").Node("DO", 2, "Open");
  for (const auto& device : {pump, meter, valve}) device.Write();
  ChannelTemplate()
      .Channel(1)
      .Device(3, pump.Path())
      .Device(4, meter.Path())
      .Channel(2)
      .Device(1, valve.Path())
      .Write();
  WriteSnXml("Ostra-7K-M", kSerialNumber);
}

void WriteEmptyPlant() {
  ChannelTemplate().Write();
  WriteSnXml("Ostra-7K-M", kSerialNumber);
}

std::vector<SegmentPoint> ExampleValues() {
  return {{0x01030001, 12.5},
          {0x01031123, 1},
          {0x01040207, 123456.7891},
          {0x02010302, 0},
          {0x020104AB, -0.0004}};
}

std::string ExampleDocument(const std::string& timeMark) {
  const char* time = timeMark.c_str();
  return util::Format(
      R"({"sn":"TS20240117","data":[)"
      R"({"groupId":1,"eqpId":3,"timeMark":"%s","values":[)"
      R"({"pointId":"0001","value":"12.500"},{"pointId":"1123","value":"1.000"}]},)"
      R"({"groupId":1,"eqpId":4,"timeMark":"%s","values":[)"
      R"({"pointId":"0207","value":"123456.789"}]},)"
      R"({"groupId":2,"eqpId":1,"timeMark":"%s","values":[)"
      R"({"pointId":"0302","value":"0.000"},{"pointId":"04AB","value":"-0.000"}]}]})",
      time, time, time);
}

std::string EmptyDocument() {
  return R"({"sn":"TS20240117","data":[]})";
}

}  // namespace test
