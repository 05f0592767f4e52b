#include "cloud/answers.h"

#include "util/json.h"
#include "util/text.h"

namespace cloud {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteText(Writer* writer, const char* key, std::string_view text) {
  writer->Key(key);
  writer->String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void WriteNumber(Writer* writer, const char* key, int number) {
  writer->Key(key);
  writer->Int(number);
}

void WritePoint(Writer* writer, const RecallPoint& point) {
  writer->StartObject();
  WriteText(writer, "pointId", util::Format("%04X", point.pointId));
  WriteText(writer, "beginTime", point.beginTime);
  WriteText(writer, "endTime", point.endTime);
  writer->EndObject();
}

void WriteDevice(Writer* writer, const RecallDevice& device) {
  writer->StartObject();
  WriteText(writer, "groupId", std::to_string(device.groupId));
  WriteText(writer, "eqpId", std::to_string(device.eqpId));
  writer->Key("ids");
  writer->StartArray();
  for (const RecallPoint& point : device.points) WritePoint(writer, point);
  writer->EndArray();
  writer->EndObject();
}

void WriteOrder(Writer* writer, const RecallOrder& order) {
  writer->StartObject();
  WriteText(writer, "sn", order.serialNumber);
  WriteNumber(writer, "id", order.id);
  writer->Key("devs");
  writer->StartArray();
  for (const RecallDevice& device : order.devices) WriteDevice(writer, device);
  writer->EndArray();
  writer->EndObject();
}

void WriteData(Writer* writer, Endpoint endpoint, int status, const EnvelopeData& data) {
  writer->Key("data");
  writer->StartArray();
  if (endpoint == Endpoint::kAuthorize) {
    writer->StartObject();
    WriteNumber(writer, "seqStatus", status);
    writer->EndObject();
  }
  if (!data.redirect.empty()) {
    writer->StartObject();
    WriteText(writer, "realIpAddress", data.redirect);
    writer->EndObject();
  }
  for (const RecallOrder& order : data.orders) WriteOrder(writer, order);
  writer->EndArray();
}

}  // namespace

std::string Envelope(Endpoint endpoint, int status, std::string_view message,
                     const EnvelopeData& data) {
  rapidjson::StringBuffer text;
  Writer writer(text);
  writer.StartObject();
  WriteNumber(&writer, "status", status);
  WriteText(&writer, "message", message);
  if (!Facts(endpoint).IsUpload()) WriteData(&writer, endpoint, status, data);
  writer.EndObject();
  return text.GetString();
}

std::string StrayEnvelope(std::string_view message) {
  return Envelope(Endpoint::kSkipAddress, kStatusRefused, message);
}

}  // namespace cloud
