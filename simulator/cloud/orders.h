// Owns the orders of history that the cloud gives to gateways, and the book that keeps them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cloud/documents.h"
#include "util/mutex.h"

namespace cloud {

// One point of an order, and the span of time wanted of it.
struct RecallPoint {
  std::uint16_t pointId = 0;  // lower half of the DataId; four hexadecimal digits on the wire
  std::string beginTime{};    // "2024-03-01 10:00:00", local time of the gateway
  std::string endTime{};      // the same, included

  bool operator==(const RecallPoint&) const = default;
};

// One device of an order.
struct RecallDevice {
  std::int32_t groupId = 0;  // channel number; a decimal text on the wire
  std::int32_t eqpId = 0;    // device address; a decimal text on the wire
  std::vector<RecallPoint> points{};

  bool operator==(const RecallDevice&) const = default;
};

// One order of history.
struct RecallOrder {
  std::int32_t id = 0;  // its sequence number
  std::vector<RecallDevice> devices{};
  std::string serialNumber{};  // of the gateway that is meant; empty: whoever asks
  int repeats = 0;             // in how many answers it stands; 0: until its data are accepted
  int checksBefore = 0;        // how many recall checks are answered without it first

  bool operator==(const RecallOrder&) const = default;
};

// Reads an order like
//   7:1/3:1123,00AB@2024-03-01 10:00:00..2024-03-01 10:30:00;2/1:0302@…..…*5+1
// Throws std::invalid_argument with a line that says what is wrong with it.
RecallOrder ParseOrder(std::string_view text);

// The grammar of an order, in lines for a help text.
extern const char kOrderHelp[];

// Knows which orders stand in the next answer, and whether data answer one. Every thread may call
// it.
class OrderBook {
 public:
  explicit OrderBook(const std::vector<RecallOrder>& orders);

  void Add(const RecallOrder& order);
  // The orders of the next answer, oldest first, also those for other gateways. An order that names
  // no gateway gets the serial number `asker`. Counts the answer for each of them.
  std::vector<RecallOrder> Take(const std::string& asker);
  // Throws a Fault when the data carry the "id" of an order for this gateway, finished or not, but
  // have other points, another sequence of them, or values from outside the span. Data with an "id"
  // that was never ordered from the gateway pass.
  void Check(const std::string& serialNumber, const RecallData& recall) const;
  // The gateway's data are accepted: their order is done.
  void Accept(const std::string& serialNumber, const RecallData& recall);
  // How many orders will stand in an answer, now or later.
  std::size_t Standing() const;
  // Their numbers, oldest first.
  std::vector<std::int32_t> StandingIds() const;

 private:
  struct Entry {
    RecallOrder order;
    int answers = 0;       // in which it has stood
    int checksBefore = 0;  // checks since it was given
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
