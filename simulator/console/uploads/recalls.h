// The recalls of history: ordering one, and its way through poll, file and upload.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "console/uploads/cloudindex.h"
#include "console/uploads/plantnames.h"
#include "console/uploads/recallorder.h"
#include "console/web/router.h"
#include "program/control.h"
#include "util/mutex.h"

namespace console {

// One recall. Times are gateway time; nothing: it has not come so far.
struct Recall {
  RecallOrderText order{};
  std::optional<std::int64_t> ordered{};   // of a foreign order: when it was first given out
  std::optional<std::int64_t> polled{};    // the service got it with an answer
  std::optional<std::int64_t> packed{};    // the stamp of its file
  std::optional<std::int64_t> accepted{};  // by the cloud
  std::string file{};                      // the newest file for it; empty: none so far
  std::optional<std::int64_t> upload{};    // its upload that was accepted, or the newest one
};

// Follows the cloud's index and orders history from the cloud. Orders of others, for instance of
// the cloud's command line, are listed, too. The newest 200 recalls are kept. Every thread may call
// it.
class Recalls {
 public:
  // `now` gives gateway time. Index and names outlive the object.
  Recalls(const CloudIndex& index, PlantNames& names, const std::string& cloudControl,
          std::function<std::time_t()> now)
      : m_index(index), m_names(names), m_cloud(cloudControl), m_now(std::move(now)) {}

  // GET and POST /api/recalls, GET /api/recalls/one.
  void AddRoutes(Router& router);

  // All that are known, the newest first.
  std::vector<Recall> All();

 private:
  void Follow();  // under m_mutex
  void TakeAnswer(const OrderingAnswer& answer);
  void TakeUpload(const IndexedUpload& upload);
  void LookOnCard(Recall& recall) const;
  Recall& Find(int id);
  void NoteNumber(int id);
  int NextId();
  Reply List();
  Reply Order(const Call& call);
  Reply One(const Call& call);

  const CloudIndex& m_index;
  PlantNames& m_names;
  const program::ControlClient m_cloud;
  const std::function<std::time_t()> m_now;
  util::Mutex m_mutex;
  std::map<int, Recall> m_recalls{};  // guarded by m_mutex; by the order's number
  int m_highest = 0;                  // guarded by m_mutex; number of an order, not of a fault's
  std::int64_t m_lastAnswer = 0;      // guarded by m_mutex; ids of the index that were taken
  std::int64_t m_lastUpload = 0;      // guarded by m_mutex
};

}  // namespace console
