// Keeps the past of a long run within bounds, so that a bench does not fill its /tmp and its card.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace console {

// How much of the past is kept.
struct Budget {
  std::int64_t indexBytes = std::int64_t{96} << 20;    // of the cloud's index in use
  std::int64_t exchanges = 150'000;                    // in the index: 31 days of the gateway
  std::int64_t wholeExchanges = 500;                   // the newest, which stay whole in any case
  std::int64_t fileBytes = std::int64_t{64} << 20;     // of the files that the cloud has kept
  std::int64_t historyBytes = std::int64_t{64} << 20;  // of the demand history in use
};

// Where the past stands.
struct PastPlaces {
  std::string index{};    // the cloud's
  std::string files{};    // the cloud's folder; empty: none
  std::string history{};  // the acquisition side's database on the card
};

// Removes the oldest of what is beyond the budget, a small part a call. It writes to the databases
// of the cloud and the acquisition side as they do, in short transactions. A database that is busy
// or gone is left for the next call. One thread.
class Housekeeping {
 public:
  explicit Housekeeping(PastPlaces places) : Housekeeping(std::move(places), Budget()) {}
  Housekeeping(PastPlaces places, const Budget& budget)
      : m_places(std::move(places)), m_budget(budget) {}

  void Tidy();

 private:
  void TidyIndex();
  void TidyFiles() const;
  void TidyHistory() const;

  const PastPlaces m_places;
  const Budget m_budget;
  std::int64_t m_emptied = 0;  // exchanges up to this one have lost their bytes
};

}  // namespace console
