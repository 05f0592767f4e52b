// Owns what the cloud orders from gateways: recalls of history, and the book in which they stand.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cloud/documents.h"
#include "util/mutex.h"

namespace cloud {

// What it is for: one point of an order and the span wanted of it.
struct RecallPoint {
  std::uint16_t pointId = 0;  // lower half of the DataId; four hexadecimal digits on the wire
  std::string beginTime{};    // "2024-03-01 10:00:00", local time of the gateway
  std::string endTime{};      // the same, included

  bool operator==(const RecallPoint&) const = default;
};

// What it is for: one device of an order.
struct RecallDevice {
  std::int32_t groupId = 0;  // channel number; a decimal text on the wire
  std::int32_t eqpId = 0;    // device address; a decimal text on the wire
  std::vector<RecallPoint> points{};

  bool operator==(const RecallDevice&) const = default;
};

// What it is for: one order of history.
struct RecallOrder {
  std::int32_t id = 0;  // its sequence number
  std::vector<RecallDevice> devices{};
  std::string serialNumber{};  // of the gateway that is meant; empty: whoever asks
  int repeats = 0;  // in how many answers it stands, come what may; 0: until its data are accepted
  int checksBefore = 0;  // how many recall checks are answered without it first

  bool operator==(const RecallOrder&) const = default;
};

// What it is for: which orders stand in the next answer, and whether data answer one.
// Threads: any. Owns: the orders, guarded by m_mutex.
class OrderBook {
 public:
  explicit OrderBook(const std::vector<RecallOrder>& orders);

  void Add(const RecallOrder& order);
  // The orders of one answer, oldest first, also those meant for other gateways; where none is
  // named, `asker` is. Each has stood in one answer more afterwards.
  std::vector<RecallOrder> Take(const std::string& asker);
  // Throws a Fault when the gateway's data answer an order of this book, finished or not, with
  // other points, another sequence of them, or values from outside the span. Data whose "id" was
  // never ordered from that gateway pass.
  void Check(const std::string& serialNumber, const RecallData& recall) const;
  // The gateway's data are accepted: the order that stood until then stands no longer.
  void Accept(const std::string& serialNumber, const RecallData& recall);
  // How many orders will stand in an answer, now or later.
  std::size_t Standing() const;

 private:
  struct Entry {
    RecallOrder order;
    int answers = 0;       // in which it stood
    int checksBefore = 0;  // since it was given
    bool accepted = false;

    bool IsDue() const { return checksBefore >= order.checksBefore; }
    bool Stands() const { return order.repeats == 0 ? !accepted : answers < order.repeats; }
    bool IsMeantBy(const std::string& serialNumber, const RecallData& recall) const {
      return recall.id == order.id &&
             (order.serialNumber.empty() || order.serialNumber == serialNumber);
    }
  };

  mutable util::Mutex m_mutex;
  std::vector<Entry> m_entries;  // guarded by m_mutex
};

}  // namespace cloud
