#include "console/uploads/recalls.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include "collect/archive.h"
#include "console/uploads/recalldocument.h"
#include "console/uploads/text.h"
#include "program/ordernumbers.h"
#include "util/paths.h"

namespace console {
namespace {

constexpr std::size_t kMostRecalls = 200;
constexpr std::size_t kReadAtOnce = 500;
constexpr std::size_t kFilesOpened = 5;  // on the card, for one recall

// The digits in "R20261122100005.tar.gz"; empty for any other name.
std::string StampIn(const std::string& name) {
  constexpr std::size_t kDigits = 14;
  const bool fits =
      name.size() == 1 + kDigits + 7 && name.front() == 'R' && name.ends_with(".tar.gz");
  return fits ? name.substr(1, kDigits) : "";
}

// The recall files on the card with a stamp from `since` on, the newest first, a few at most.
std::vector<std::string> FilesOnCard(std::time_t since) {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(paths::kCallData, error), end;
       !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const auto stamp = TimeOfStamp(StampIn(name));
    if (stamp && *stamp >= since) names.push_back(name);
  }
  std::ranges::sort(names, std::greater());
  names.resize(std::min(names.size(), kFilesOpened));
  return names;
}

}  // namespace

std::vector<Recall> Recalls::All() {
  const std::lock_guard lock(m_mutex);
  Follow();
  std::vector<Recall> recalls;
  for (auto& [id, recall] : m_recalls) {
    if (recall.polled && recall.file.empty()) LookOnCard(recall);
    recalls.push_back(recall);
  }
  std::ranges::reverse(recalls);
  return recalls;
}

void Recalls::Follow() {
  for (;;) {
    const auto answers = m_index.OrdersAfter(m_lastAnswer, kReadAtOnce);
    if (!answers) break;  // the next call tries again
    for (const OrderingAnswer& answer : *answers) TakeAnswer(answer);
    if (answers->size() < kReadAtOnce) break;
  }
  for (;;) {
    const auto uploads = m_index.ArrivalsAfter(m_lastUpload, kReadAtOnce, "calldata");
    for (const IndexedUpload& upload : uploads) TakeUpload(upload);
    if (uploads.size() < kReadAtOnce) break;
  }
  while (m_recalls.size() > kMostRecalls) m_recalls.erase(m_recalls.begin());
}

void Recalls::TakeAnswer(const OrderingAnswer& answer) {
  m_lastAnswer = answer.id;
  for (RecallOrderText& order : OrdersIn(answer.answer)) {
    Recall& recall = Find(order.id);
    if (recall.order.points.empty()) recall.order = std::move(order);
    if (!recall.ordered) recall.ordered = answer.time;
    if (!recall.polled) recall.polled = answer.time;
  }
}

void Recalls::TakeUpload(const IndexedUpload& upload) {
  m_lastUpload = upload.id;
  if (!upload.order) return;
  Recall& recall = Find(*upload.order);
  if (recall.accepted) return;
  recall.file = upload.name;
  recall.packed = TimeOfStamp(upload.stamp);
  recall.upload = upload.id;
  if (upload.accepted) recall.accepted = upload.time;
}

// The file that is packed but has not reached the cloud.
void Recalls::LookOnCard(Recall& recall) const {
  for (const std::string& name : FilesOnCard(*recall.polled)) {
    const auto archive = status::ReadArchive(std::string(paths::kCallData) + "/" + name);
    if (ReadRecallDocument(archive.document).order != recall.order.id) continue;
    recall.file = name;
    recall.packed = TimeOfStamp(StampIn(name));
    return;
  }
}

Recall& Recalls::Find(int id) {
  NoteNumber(id);
  Recall& recall = m_recalls[id];
  recall.order.id = id;
  return recall;
}

void Recalls::NoteNumber(int id) {
  if (id < program::kFirstOrderOfFaults) m_highest = std::max(m_highest, id);
}

// A number that no order has had.
int Recalls::NextId() {
  Follow();
  const program::ControlAnswer state = m_cloud.Call(R"({"do":"state"})");
  rapidjson::Document document;
  document.Parse(state.line.c_str());
  if (!document.HasParseError() && document.IsObject() && document.HasMember("orders")) {
    for (const rapidjson::Value& id : document["orders"].GetArray()) NoteNumber(id.GetInt());
  }
  return m_highest + 1;
}

}  // namespace console
