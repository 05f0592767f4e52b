#include "console/watch/answeredorders.h"

#include <algorithm>

#include "collect/archive.h"
#include "util/json.h"
#include "util/paths.h"

namespace console {
namespace {

constexpr std::size_t kMostKeptRecalls = 2000;

}  // namespace

void AnsweredOrders::Note(const FileKey& key, const std::string& document) {
  rapidjson::Document parsed;
  parsed.Parse(document.data(), document.size());
  if (parsed.HasParseError() || !parsed.IsObject()) return;
  const rapidjson::Value& order = parsed;
  const auto id = order.FindMember("id");
  if (id == order.MemberEnd() || !id->value.IsInt64()) return;
  if (m_orders.size() >= kMostKeptRecalls) m_orders.erase(m_orders.begin());
  m_orders[key] = id->value.GetInt64();
}

void AnsweredOrders::Take(const Arrival& arrival) {
  const auto key = KeyOf(arrival.name);
  if (!key || key->kind != Kind::kCallData || !m_document) return;
  if (!m_orders.contains(*key)) Note(*key, m_document(arrival.id));
  const auto order = m_orders.find(*key);
  if (!arrival.accepted || order == m_orders.end()) return;
  std::uint64_t& newest = m_accepted[order->second];
  newest = std::max(newest, key->stamp);
  if (m_accepted.size() > kMostKeptRecalls) m_accepted.erase(m_accepted.begin());
}

void AnsweredOrders::Tell(Account& account) {
  for (auto file = account.All().lower_bound({Kind::kCallData, 0}); file != account.All().end();
       ++file) {
    const auto& [key, seen] = *file;
    if (seen.deliveries > 0 || seen.isAnswered) continue;
    if (const auto order = m_orders.find(key); order != m_orders.end()) {
      const auto accepted = m_accepted.find(order->second);
      if (accepted == m_accepted.end() || accepted->second <= key.stamp) continue;
      return account.TakeAnswered(key);  // the next look finds the next one
    }
    if (!seen.hasArchive || m_asked.size() >= kMostKeptRecalls || !m_asked.insert(key).second)
      continue;
    const std::string path = std::string(paths::kCallData) + "/" + BaseNameOf(key);
    return Note(key, status::ReadArchive(m_place.At(path)).document);
  }
}

}  // namespace console
