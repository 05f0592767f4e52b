// The values in force, beside what is written.
#include <cerrno>
#include <cstdlib>

#include "collect/loadwatch.h"
#include "config/snset.h"
#include "judge/configparts.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/xml.h"

namespace status {
namespace {

using Cloud = ST_CLOUDSERVER_CONFIG_ATTR;

// A number of the `cloud` element.
struct NumberRow {
  const char* name;
  long (*inForce)(const Cloud& cloud);
  const char* good;    // good values
  const char* unused;  // why it does not count, or null
};

constexpr NumberRow kNumbers[] = {
    {"checked", [](const Cloud& cloud) -> long { return cloud.checked; }, "1 on, 0 off", nullptr},
    {"port", [](const Cloud& cloud) -> long { return cloud.port; }, "1 to 65535", nullptr},
    {"RealDataInv", [](const Cloud& cloud) -> long { return cloud.RealDataInv; }, "60 to 32767",
     nullptr},
    {"AlarmDataInv", [](const Cloud& cloud) -> long { return cloud.AlarmDataInv; }, "10 to 32767",
     nullptr},
    {"HeartInterval", [](const Cloud& cloud) -> long { return cloud.HeartBeatInv; }, "60 to 32767",
     "not used: the address is checked every 600 s"},
    {"FailInterval", [](const Cloud& cloud) -> long { return cloud.CheckFailInv; }, "30 to 32767",
     nullptr},
    {"RecallInterval", [](const Cloud& cloud) -> long { return cloud.RecallInv; },
     "60 to 32767, or 0 for off", nullptr},
    {"IsCompress", [](const Cloud& cloud) -> long { return cloud.isCompress; }, "0 to 255",
     "not used: files are always compressed"},
};

struct TextRow {
  const char* name;
  const char* inForce;
  std::size_t most;
  bool leadsToCloud;  // cut, it leads nowhere
};

// What an element has for the attribute.
ConfigValue Written(const util::XmlElement& element, const char* name) {
  ConfigValue value;
  value.name = name;
  value.line = element.Line();
  if (const auto text = element.Attribute(name)) {
    value.isWritten = true;
    value.written = *text;
  }
  return value;
}

void AddNumber(const util::XmlElement& cloud, const NumberRow& row, const Cloud& loaded,
               std::vector<ConfigValue>& values, FaultList& faults) {
  ConfigValue value = Written(cloud, row.name);
  const long inForce = row.inForce(loaded);
  value.inForce = std::to_string(inForce);
  if (row.unused != nullptr) {
    value.note = row.unused;
  } else if (value.isWritten && !IsNumber(value.written, inForce)) {
    faults.Add(Cost::kPart, "BRN-CONFIG-VALUE", paths::kSystemFile, value.line,
               util::Format("%s %s -> %ld; good values are %s", row.name, value.written.c_str(),
                            inForce, row.good));
  }
  values.push_back(std::move(value));
}

void AddText(const util::XmlElement& element, const TextRow& row, std::vector<ConfigValue>& values,
             FaultList& faults) {
  ConfigValue value = Written(element, row.name);
  value.inForce = row.inForce;
  if (value.isWritten && value.written != value.inForce) {
    const Cost cost = row.leadsToCloud ? Cost::kStart : Cost::kPart;
    faults.Add(cost, row.leadsToCloud ? "BRN-CONFIG-CLOUD" : "BRN-CONFIG-VALUE", paths::kSystemFile,
               value.line,
               util::Format("%s has %zu characters and is cut to %zu: %s", row.name,
                            value.written.size(), row.most, row.inForce));
  }
  values.push_back(std::move(value));
}

// A worker with an interval below 1 is not started.
void NoteWorkersOff(const Cloud& cloud, std::vector<ConfigValue>& values, FaultList& faults) {
  for (ConfigValue& value : values) {
    if (value.name == "RecallInterval" && cloud.RecallInv < 1) {
      value.note = "off: the cloud is never asked for recalls of history";
    }
    if (value.name == "RealDataInv" && cloud.RealDataInv < 1) {
      value.note = "off: no real data are packed";
      faults.Add(Cost::kPart, "BRN-CONFIG-INTERVAL", paths::kSystemFile, value.line,
                 "RealDataInv is below 1: no real data are packed, only alarms are sent");
    }
  }
}

void AddCloud(const util::XmlElement& element, const Cloud& cloud, std::vector<ConfigValue>& values,
              FaultList& faults) {
  const TextRow address{"cloudip", cloud.cloudip, sizeof(cloud.cloudip) - 1, true};
  const TextRow prefix{"Dir", cloud.Dir, sizeof(cloud.Dir) - 1, true};
  const TextRow type{"FileType", cloud.filetype, sizeof(cloud.filetype) - 1, false};
  for (const NumberRow& row : kNumbers) {
    AddNumber(element, row, cloud, values, faults);
    if (row.inForce(cloud) == 0 && std::string_view(row.name) == "checked")
      values.back().note = "off";
    if (std::string_view(row.name) == "checked") AddText(element, address, values, faults);
    if (std::string_view(row.name) == "port") AddText(element, prefix, values, faults);
  }
  AddText(element, type, values, faults);
  NoteWorkersOff(cloud, values, faults);
  for (const auto& child : element.Children()) {
    if (!child.Is("https")) continue;
    ConfigValue value = Written(child, "checked");
    value.name = "https checked";
    value.inForce = value.written;
    value.note = "not used: the service speaks plain HTTP";
    values.push_back(std::move(value));
  }
}

void AddSystem(const Place& place, const Cloud& cloud, std::vector<ConfigValue>& values,
               FaultList& faults) {
  LoadWatch watch(place);
  const auto document = util::XmlDocument::Read(paths::kSystemFile);
  const auto root = document ? document.Root() : std::nullopt;
  if (!root || !root->Is("sysConfig")) return;
  std::optional<util::XmlElement> last;
  for (const auto& element : root->Children()) {
    if (!element.Is("cloud")) continue;
    if (last) {
      faults.Add(Cost::kPart, "BRN-CONFIG-VALUE", paths::kSystemFile, element.Line(),
                 util::Format("a second `cloud` element; the one of line %ld does not count",
                              last->Line()));
    }
    last = element;
  }
  if (last) AddCloud(*last, cloud, values, faults);
}

void AddModel(const util::XmlElement& element, std::vector<ConfigValue>& values,
              FaultList& faults) {
  constexpr char kStandIn[] = "Ostra-7K-M";  // what an unknown model counts as
  ConfigValue value = Written(element, "model");
  const CsnSet models;
  const bool isUnknown = value.written != kStandIn && models.ModelToDigit(value.written.c_str()) ==
                                                          models.ModelToDigit(kStandIn);
  value.inForce = isUnknown ? kStandIn : value.written;
  if (isUnknown && value.isWritten) {
    faults.Add(Cost::kPart, "BRN-CONFIG-VALUE", paths::kIdentityFile, value.line,
               util::Format("model %s is not known -> %s", value.written.c_str(), kStandIn));
  }
  values.push_back(std::move(value));
}

void AddSerial(const util::XmlElement& element, const std::string& serial,
               std::vector<ConfigValue>& values, FaultList& faults) {
  ConfigValue value = Written(element, "sn");
  value.inForce = serial;
  if (value.isWritten && value.written != serial) {
    faults.Add(Cost::kPart, "BRN-CONFIG-VALUE", paths::kIdentityFile, value.line,
               util::Format("sn %s -> %s: 18 characters are kept, and by them the cloud must know "
                            "the gateway",
                            value.written.c_str(), serial.c_str()));
  } else if (value.written.find_first_of(" \t\r\n") != std::string::npos) {
    faults.Add(Cost::kPart, "BRN-CONFIG-VALUE", paths::kIdentityFile, value.line,
               "sn has a blank, which counts as a part of the serial number");
  }
  values.push_back(std::move(value));
}

void AddIdentity(const Place& place, const std::string& serial, std::vector<ConfigValue>& values,
                 FaultList& faults) {
  LoadWatch watch(place);
  const auto document = util::XmlDocument::Read(paths::kIdentityFile);
  const auto root = document ? document.Root() : std::nullopt;
  if (!root || !root->Is("snConfig")) return;
  std::optional<util::XmlElement> model;
  std::optional<util::XmlElement> number;
  for (const auto& element : root->Children()) {
    if (element.Is("model") && element.Attribute("model")) model = element;
    if (element.Is("sn") && element.Attribute("sn")) number = element;
  }
  if (model) AddModel(*model, values, faults);
  if (number) AddSerial(*number, serial, values, faults);
}

}  // namespace

bool IsNumber(const std::string& text, long number) {
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 10);
  return !text.empty() && *end == '\0' && errno == 0 && value == number;
}

std::vector<ConfigValue> ReadValues(const Place& place, const Configuration& configuration,
                                    FaultList& faults) {
  std::vector<ConfigValue> values;
  AddSystem(place, configuration.cloud, values, faults);
  AddIdentity(place, configuration.serial, values, faults);
  return values;
}

}  // namespace status
