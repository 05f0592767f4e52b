#include "cloud/answers.h"

#include "util/json.h"

namespace cloud {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteMessage(Writer* writer, int status, std::string_view message) {
  writer->Key("status");
  writer->Int(status);
  writer->Key("message");
  writer->String(message.data(), static_cast<rapidjson::SizeType>(message.size()));
}

void WriteData(Writer* writer, Endpoint endpoint, int status) {
  writer->Key("data");
  writer->StartArray();
  if (endpoint == Endpoint::kAuthorize) {
    writer->StartObject();
    writer->Key("seqStatus");
    writer->Int(status);
    writer->EndObject();
  }
  writer->EndArray();
}

}  // namespace

std::string Envelope(Endpoint endpoint, int status, std::string_view message) {
  rapidjson::StringBuffer text;
  Writer writer(text);
  writer.StartObject();
  WriteMessage(&writer, status, message);
  if (!Facts(endpoint).IsUpload()) WriteData(&writer, endpoint, status);
  writer.EndObject();
  return text.GetString();
}

std::string StrayEnvelope(std::string_view message) {
  return Envelope(Endpoint::kSkipAddress, kStatusRefused, message);
}

}  // namespace cloud
