#include "console/uploads/uploadroutes.h"

#include <algorithm>
#include <string>

#include "collect/archive.h"
#include "console/uploads/curlline.h"
#include "console/uploads/text.h"
#include "console/web/httpstatus.h"

namespace console {
namespace {

constexpr std::int64_t kMostOnAPage = 200;
constexpr std::int64_t kOnAPage = 50;
constexpr std::size_t kShownBytes = std::size_t{2} << 20;  // of a formatted document

Reply IndexTrouble() {
  return ErrorReply(kUnavailable, "The cloud's index cannot be read at the moment.");
}

void WriteUpload(JsonWriter& json, const IndexedUpload& upload) {
  WriteMember(json, "id", upload.id);
  WriteMember(json, "kind", upload.kind);
  WriteMember(json, "name", upload.name);
  const auto stamp = TimeOfStamp(upload.stamp);
  WriteMember(json, "stamp_unix_s", stamp ? std::optional<std::int64_t>(*stamp) : std::nullopt);
  WriteMember(json, "time_unix_s", std::int64_t{upload.time});
  WriteMember(json, "bytes", upload.bytes);
  WriteMember(json, "attempt", upload.attempt);
  WriteMember(json, "attempts", upload.attempts);
  json.Key("accepted");
  json.Bool(upload.accepted);
  WriteMember(json, "verdict", upload.verdict);
  WriteMember(json, "devices", upload.devices);
  WriteMember(json, "points", upload.points);
}

// A text of the index that is JSON already; an empty array when it is not.
void WriteArray(JsonWriter& json, const char* key, const std::string& text) {
  const std::string valid = ValidUtf8(text);
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(valid.data(), valid.size());
  json.Key(key);
  if (document.HasParseError() || !document.IsArray()) {
    json.StartArray();
    json.EndArray();
  } else {
    document.Accept(json);
  }
}

// The document, a value a line. As it is when it is no JSON; cut when it is very long.
std::string Formatted(const std::string& document) {
  std::string text;
  bool isCut = false;
  const bool isJson = status::FormatDocument(document, [&](std::string_view line) {
    isCut = isCut || text.size() + line.size() > kShownBytes;
    if (!isCut) text.append(line).append("\n");
  });
  if (!isJson) {
    text = document.substr(0, kShownBytes);
    isCut = document.size() > kShownBytes;
  }
  return isCut ? text + "… the rest is left out; the archive has it" : text;
}

void WriteDocument(JsonWriter& json, const IndexedExchange& exchange) {
  std::string trouble;
  std::string document = exchange.body;
  if (!exchange.archive.empty()) document = Unpack(exchange.archive, &trouble);
  WriteMember(json, "document", document.empty() ? document : Formatted(document));
  WriteMember(json, "document_trouble", trouble);
}

void WriteOne(JsonWriter& json, const IndexedExchange& exchange) {
  json.StartObject();
  WriteMember(json, "schema", 1);
  WriteUpload(json, exchange.upload);
  WriteMember(json, "address", exchange.address);
  WriteMember(json, "head", exchange.head);
  WriteArray(json, "parts", exchange.parts);
  WriteMember(json, "member", exchange.member);
  WriteDocument(json, exchange);
  WriteArray(json, "checks", exchange.checks);
  WriteMember(json, "answer_status", exchange.answerStatus);
  WriteMember(json, "answer", exchange.answer);
  WriteMember(json, "curl", CurlLine(exchange));
  json.EndObject();
}

std::optional<UploadFilter> FilterOf(const Call& call) {
  UploadFilter filter;
  filter.kind = call.Get("kind");
  filter.name = call.Get("name");
  const std::string verdict = call.Get("verdict");
  if (!verdict.empty()) filter.accepted = verdict == "accepted";
  if (!verdict.empty() && verdict != "accepted" && verdict != "not") return std::nullopt;
  if (call.Get("before").empty()) return filter;
  filter.before = NumberIn(call.Get("before"));
  return filter.before ? std::optional(filter) : std::nullopt;
}

Reply List(const CloudIndex& index, const Call& call) {
  const auto filter = FilterOf(call);
  const auto limit = NumberIn(call.Get("limit", std::to_string(kOnAPage)));
  if (!filter || !limit) return ErrorReply(kBadRequest, "The filter cannot be read.");
  const auto page = index.Page(
      *filter, static_cast<std::size_t>(std::clamp<std::int64_t>(*limit, 1, kMostOnAPage)));
  if (!page) return IndexTrouble();
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    WriteMember(json, "schema", 1);
    json.Key("uploads");
    json.StartArray();
    for (const IndexedUpload& upload : page->uploads) {
      json.StartObject();
      WriteUpload(json, upload);
      json.EndObject();
    }
    json.EndArray();
    WriteMember(json, "next",
                page->hasMore ? std::optional(page->uploads.back().id) : std::nullopt);
    WriteMember(json, "total", page->total);
    json.EndObject();
  });
}

// Lets `answer` make the reply from the exchange that the call names.
template <typename Answer>
Reply WithExchange(const CloudIndex& index, const Call& call, const Answer& answer) {
  const auto id = NumberIn(call.Get("id"));
  if (!id) return ErrorReply(kBadRequest, "The number of the upload is missing.");
  const auto exchange = index.Exchange(*id);
  if (!exchange) return IndexTrouble();
  if (exchange->upload.id == 0) return ErrorReply(kNotFound, "There is no such upload.");
  return answer(*exchange);
}

Reply One(const IndexedExchange& exchange) {
  return JsonReply([&](JsonWriter& json) { WriteOne(json, exchange); });
}

Reply Archive(const IndexedExchange& exchange) {
  if (exchange.archive.empty()) return ErrorReply(kNotFound, "This request carried no file.");
  return {.body = exchange.archive,
          .type = "application/gzip",
          .downloadName = DownloadName(exchange.upload)};
}

}  // namespace

void AddUploadRoutes(const CloudIndex& index, Router& router) {
  router.Get("/api/uploads", [&index](const Call& call) { return List(index, call); });
  router.Get("/api/uploads/one",
             [&index](const Call& call) { return WithExchange(index, call, One); });
  router.Get("/api/uploads/archive",
             [&index](const Call& call) { return WithExchange(index, call, Archive); });
}

}  // namespace console
