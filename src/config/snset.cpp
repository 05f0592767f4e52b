#include "config/snset.h"

#include <string>
#include <string_view>

#include "log/log.h"
#include "util/text.h"

namespace {

struct Model {
  std::string_view name;
  std::int32_t number;
  std::size_t prefixLength;  // characters of a serial number before its digits
};
constexpr Model kModels[] = {
    {"Ostra-7K", 0, 2},   {"Ostra-7K-M", 1, 2}, {"Ostra-5N", 2, 2},
    {"Ostra-5N-M", 3, 2}, {"Ostra-R9", 100, 3}, {"Ostra-R9-M", 101, 3},
};

}  // namespace

int CsnSet::Open(const char* path) {
  m_document = util::XmlDocument::Read(path);
  if (!m_document) {
    log_Text(ERROR, "parse Document %s failed", path);
    return -1;
  }
  return LoadNodeFromXml() == 0 ? 0 : -1;
}

int CsnSet::LoadNodeFromXml() {
  if (!m_document) {
    log_Text(ERROR, "parse SN Document failed");
    return -1;
  }
  const auto root = m_document.Root();
  if (!root) {
    log_Text(ERROR, "parse SN Document failed,empty document.");
    m_document.Free();
    return -1;
  }
  if (!root->Is("snConfig")) {
    log_Text(ERROR, "parse SN Document failed,wrong type,root node is not snConfig");
    m_document.SayOtherRoot("snConfig");
    m_document.Free();
    return -1;
  }
  bool hasModel = false;
  bool hasSerial = false;
  for (const auto& element : root->Children()) {
    if (element.Is("model")) {
      if (const auto model = element.Attribute("model")) {
        m_model = ModelToDigit(model->c_str());
        hasModel = true;
      }
    } else if (element.Is("sn")) {
      if (const auto serial = element.Attribute("sn")) {
        util::CopyText(m_sn, *serial);
        hasSerial = !serial->empty();
      }
    }
  }
  if (!hasModel || !hasSerial) {
    log_Text(ERROR, "parse SN Document failed,no usable model or sn");
    m_document.SayRefused("has no usable model or sn");
    m_document.Free();
    return -1;
  }
  Model2Sn(m_sn);
  return 0;
}

int CsnSet::Close() {
  return m_document.Free() ? 0 : -1;
}

int CsnSet::ModelToDigit(const char* name) const {
  for (const auto& model : kModels) {
    if (model.name == name) return model.number;
  }
  return kUnknownModel;
}

void CsnSet::Model2Sn(const char* serial) {
  for (const auto& model : kModels) {
    if (model.number != m_model) continue;
    std::string digits(serial);
    digits.erase(0, model.prefixLength);  // a text shorter than the prefix leaves no digits
    m_numericSn = static_cast<std::uint32_t>(util::Decimal(digits.c_str()));
  }
}

CsnSet& GetCsnSetInstance() {
  static CsnSet instance;
  return instance;
}
