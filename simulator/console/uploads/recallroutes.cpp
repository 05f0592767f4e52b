// The page's calls about recalls.
#include <mutex>
#include <stdexcept>

#include "console/uploads/recalldocument.h"
#include "console/uploads/recalls.h"
#include "console/uploads/text.h"
#include "console/web/httpstatus.h"

namespace console {
namespace {

constexpr std::size_t kShownValues = 3600;  // of one point

void WriteRecall(JsonWriter& json, const Recall& recall) {
  json.StartObject();
  WriteMember(json, "id", recall.order.id);
  json.Key("points");
  json.StartArray();
  for (const std::string& point : recall.order.points) json.String(ValidUtf8(point).c_str());
  json.EndArray();
  WriteMember(json, "from", recall.order.from);
  WriteMember(json, "to", recall.order.to);
  WriteMember(json, "ordered_unix_s", recall.ordered);
  WriteMember(json, "polled_unix_s", recall.polled);
  json.Key("file");
  recall.file.empty() ? json.Null() : json.String(ValidUtf8(recall.file).c_str());
  WriteMember(json, "packed_unix_s", recall.packed);
  WriteMember(json, "accepted_unix_s", recall.accepted);
  WriteMember(json, "upload_id", recall.upload);
  json.EndObject();
}

// A long series is thinned: every nth value, and how many are left out.
void WriteSeries(JsonWriter& json, const RecalledSeries& series, const std::string& name) {
  const std::size_t step = series.values.size() / kShownValues + 1;
  json.StartObject();
  WriteMember(json, "id", series.id);
  WriteMember(json, "name", name);
  WriteMember(json, "flag", series.flag);
  json.Key("values");
  json.StartArray();
  std::size_t shown = 0;
  for (std::size_t i = 0; i < series.values.size(); i += step, ++shown) {
    json.StartArray();
    json.Int64(series.values[i].first);
    json.Double(series.values[i].second);
    json.EndArray();
  }
  json.EndArray();
  WriteMember(json, "left_out", static_cast<std::int64_t>(series.values.size() - shown));
  json.EndObject();
}

std::string OrderCall(const RecallOrderText& order) {
  return JsonReply([&](JsonWriter& json) {
           json.StartObject();
           WriteMember(json, "do", "order");
           WriteMember(json, "order", OrderLine(order));
           json.EndObject();
         })
      .body;
}

}  // namespace

void Recalls::AddRoutes(Router& router) {
  router.Get("/api/recalls", [this](const Call&) { return List(); });
  router.Post("/api/recalls", [this](const Call& call) { return Order(call); });
  router.Get("/api/recalls/one", [this](const Call& call) { return One(call); });
}

Reply Recalls::List() {
  const std::vector<Recall> recalls = All();
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    WriteMember(json, "schema", 1);
    json.Key("recalls");
    json.StartArray();
    for (const Recall& recall : recalls) WriteRecall(json, recall);
    json.EndArray();
    json.EndObject();
  });
}

Reply Recalls::Order(const Call& call) {
  RecallOrderText order;
  try {
    order = ReadWish(*call.body);
  } catch (const std::invalid_argument& error) {
    return ErrorReply(kBadRequest, error.what());
  }
  const std::lock_guard lock(m_mutex);
  order.id = NextId();
  const program::ControlAnswer answer = m_cloud.Call(OrderCall(order));
  if (!answer.ok) return ErrorReply(kUnavailable, "The cloud took no order: " + answer.error + ".");
  Recall& recall = Find(order.id);
  recall.order = order;
  recall.ordered = m_now();
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    WriteMember(json, "schema", 1);
    WriteMember(json, "id", order.id);
    json.EndObject();
  });
}

Reply Recalls::One(const Call& call) {
  const auto id = NumberIn(call.Get("id"));
  if (!id) return ErrorReply(kBadRequest, "The number of the recall is missing.");
  RecallDocument document;
  for (const Recall& recall : All()) {
    if (recall.order.id == *id && recall.upload) {
      document = ReadRecallDocument(m_index.DocumentOf(*recall.upload));
    }
  }
  return JsonReply([&](JsonWriter& json) {
    json.StartObject();
    WriteMember(json, "schema", 1);
    json.Key("series");
    json.StartArray();
    for (const RecalledSeries& series : document.series) {
      const auto dataId = PointIdIn(series.id);
      WriteSeries(json, series, dataId ? m_names.Find(*dataId).name : "");
    }
    json.EndArray();
    json.EndObject();
  });
}

}  // namespace console
