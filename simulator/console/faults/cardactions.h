// What can be done to the card in the sandbox.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace console {

class Child;

// Disturbs the card that is mounted in one folder. One thread at a time uses it; the thread that
// locks the ledger must live as long as the lock. Each function throws std::runtime_error with a
// sentence when it cannot do its work.
class CardActions {
 public:
  struct Place {
    std::string mount{};   // folder of the card
    std::string device{};  // its device
    std::string ledger{};
    std::chrono::milliseconds patience{4000};  // with another program that locks the ledger
  };
  explicit CardActions(Place place);
  ~CardActions();  // puts everything right
  CardActions(const CardActions&) = delete;
  CardActions& operator=(const CardActions&) = delete;

  // Another program, sqlite3, holds an exclusive lock.
  void Lock();
  void Unlock();
  // Writes a file until there is no room. It may be called again.
  void Fill();
  void Empty();
  // Moves all files of the card into a hidden folder and removes the device. Put brings both back;
  // what stands there meanwhile goes into another hidden folder.
  void Pull();
  void Put();

  // The room of the card; 0 when it is not known.
  unsigned long long TotalBytes() const;

 private:
  std::vector<std::string> Names()
      const;  // what stands in the card's folder, without our own folders
  void MoveAll(const std::string& from, const std::string& to,
               const std::vector<std::string>& names) const;

  const Place m_place;
  std::unique_ptr<Child> m_locker;
};

}  // namespace console
