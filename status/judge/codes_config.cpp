// The codes of faults of the configuration.
#include "judge/configcheck.h"

namespace status {
namespace {

constexpr char kManual[] = "operations.md#configuration";
constexpr char kSystem[] = "operations.md#configuration";
constexpr char kIdentity[] = "operations.md#configuration";
constexpr char kChannels[] = "operations.md#configuration";
constexpr char kCheckAndRestart[] =
    "correct the file, check it with brennik-status config, then restart the service: systemctl "
    "restart brennik";

constexpr Code kCodes[] = {
    {"BRN-CONFIG-SYSTEM", Level::kCritical,
     "/tessel/Config/sys.xml cannot be used. If it is missing, malformed or refused, the service "
     "ends at its start. With another root than sysConfig it runs switched off.",
     kCheckAndRestart, kSystem},
    {"BRN-CONFIG-IDENTITY", Level::kCritical,
     "/tessel/Config/system/sn.xml is missing, malformed or refused, or has no model or no serial "
     "number. The service ends at its start.",
     kCheckAndRestart, kIdentity},
    {"BRN-CONFIG-CHANNELS", Level::kCritical,
     "/tessel/Config/Channel-template.xml is missing, malformed or refused. The service ends at "
     "its start.",
     kCheckAndRestart, kChannels},
    {"BRN-CONFIG-OFF", Level::kCritical,
     "The cloud service is switched off: checked in sys.xml is 0 or missing. The service runs and "
     "sends nothing.",
     "set checked=\"1\" in /tessel/Config/sys.xml, then restart the service: systemctl restart "
     "brennik",
     kSystem},
    {"BRN-CONFIG-CLOUD", Level::kCritical,
     "The address of the cloud cannot be right: cloudip is empty, port is 0, or address and path "
     "are too long and are cut.",
     kCheckAndRestart, kSystem},
    {"BRN-CONFIG-FILETYPE", Level::kCritical,
     "FileType is no part of the files' path. Real data are not sent and count as accepted.",
     "set FileType=\"json\" in /tessel/Config/sys.xml, then restart the service: systemctl restart "
     "brennik",
     kSystem},
    {"BRN-CONFIG-RIGHTS", Level::kWarning,
     "A file of the configuration cannot be read by this user. Nothing is known of it.",
     "sudo brennik-status config", kManual},
    {"BRN-CONFIG-DEVICE", Level::kWarning,
     "A device has no points, because its file is missing, malformed or refused, or the entry of a "
     "device lacks an attribute and takes that of the device before it.",
     kCheckAndRestart, kChannels},
    {"BRN-CONFIG-DUPLICATE", Level::kWarning,
     "Two devices have the same channel and the same SlaveId. The later counts, with the points of "
     "both.",
     "give each device of a channel its own SlaveId in /tessel/Config/Channel-template.xml, then "
     "restart the service: systemctl restart brennik",
     kChannels},
    {"BRN-CONFIG-POINT", Level::kWarning,
     "Points are lost: two nodes have the same type and Id, a Node has no Id, a point type is not "
     "known, or no point is configured at all.",
     kCheckAndRestart, kChannels},
    {"BRN-CONFIG-LEFTOUT", Level::kWarning,
     "Snapshots leave out the points of channel 193. Their alarms are sent.",
     "if their values are wanted, give the channel another number in "
     "/tessel/Config/Channel-template.xml and in the acquisition side",
     kChannels},
    {"BRN-CONFIG-VALUE", Level::kWarning,
     "The service makes something else of a value than what is written: it is out of range, no "
     "number, too long, or not known.",
     kCheckAndRestart, kManual},
    {"BRN-CONFIG-INTERVAL", Level::kWarning,
     "RealDataInv switches the snapshots off. Only alarms are sent.",
     "set RealDataInv to 60 or more in /tessel/Config/sys.xml, then restart the service: systemctl "
     "restart brennik",
     kSystem},
    {"BRN-CONFIG-TIME", Level::kWarning,
     "Packing a snapshot takes more than half of the interval, or longer than it: 0.1 s for each "
     "device, 0.5 s for each channel, and 1 s. Snapshots are then missed.",
     "make RealDataInv in /tessel/Config/sys.xml longer, then restart the service: systemctl "
     "restart brennik",
     kSystem},
    {"BRN-CONFIG-SIZE", Level::kWarning,
     "The archive of a snapshot is too large to be sent, or nearly so. A larger one counts as "
     "accepted and never reaches the cloud.",
     "configure fewer points, or spread them over two gateways; brennik-status config says how "
     "many fit",
     kChannels},
    {"BRN-CONFIG-RESTART", Level::kWarning,
     "The configuration differs from that of the running service, which reads it once at its "
     "start.",
     "systemctl restart brennik", kManual},
};

}  // namespace

std::span<const Code> ConfigCodes() {
  return kCodes;
}

}  // namespace status
