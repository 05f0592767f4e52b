// The system file, sys.xml.
#include "config/sysset.h"

#include "support/world.h"

namespace {

void CheckCloud(const CSysSet& settings) {
  const ST_CLOUDSERVER_CONFIG_ATTR& cloud = *settings.GetCloudConfigAttr();
  fuzz::Expect(fuzz::IsTerminated(cloud.cloudip) && fuzz::IsTerminated(cloud.Dir) &&
                   fuzz::IsTerminated(cloud.filetype),
               "the cloud's texts are terminated");
  fuzz::Expect(std::strcmp(settings.GetRealIpAddress(), cloud.cloudip) == 0,
               "the configured address is the one in use");
  const bool hasCloud = cloud.AlarmDataInv != 0;
  fuzz::Expect(
      !hasCloud || (cloud.AlarmDataInv >= 10 && cloud.HeartBeatInv >= 60 &&
                    cloud.CheckFailInv >= 30 && (cloud.RecallInv < 1 || cloud.RecallInv >= 60) &&
                    (cloud.RealDataInv < 0 || cloud.RealDataInv >= 60)),
      "no interval is too short");
}

void CheckTexts(const CSysSet& settings) {
  const ST_GATEWAY_INFO& gateway = *settings.GetGateWayAttr();
  fuzz::Expect(fuzz::IsTerminated(gateway.stationName) && fuzz::IsTerminated(gateway.roomName) &&
                   fuzz::IsTerminated(gateway.roomDesc) &&
                   fuzz::IsTerminated(gateway.gateWayName) && fuzz::IsTerminated(gateway.address) &&
                   fuzz::IsTerminated(gateway.ownerName) && fuzz::IsTerminated(gateway.ownerDesc) &&
                   fuzz::IsTerminated(gateway.longitude) && fuzz::IsTerminated(gateway.latitude),
               "the gateway's texts are terminated");
  const ST_HTTPS_CERT_INFO& https = *settings.GetHttpsCertInfo();
  fuzz::Expect(fuzz::IsTerminated(https.certfile) && fuzz::IsTerminated(https.user) &&
                   fuzz::IsTerminated(https.passwd),
               "the certificate's texts are terminated");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::InputFile file("/tmp/sys.xml");
  file.Write(fuzz::Content(data, size));

  CSysSet settings;
  settings.Open(file.Path());
  CheckCloud(settings);
  CheckTexts(settings);
  return 0;
}
