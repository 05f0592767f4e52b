// Owns what the cloud can be told to do instead of answering normally, and the script of it.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "cloud/endpoints.h"
#include "util/mutex.h"

namespace cloud {

inline constexpr std::chrono::seconds kStallLimit{600};

enum class Action {
  kNormal,    // a sound request is accepted, a faulty one is refused
  kRefuse,    // the envelope with status 1 (a login's with seqStatus 1)
  kStatus,    // a given HTTP status with a given body
  kNonsense,  // HTTP 200 with a given text as the body
  kStall,     // a pause, then as normal
  kPieces,    // as normal, but the second half of the body comes after a pause
  kCut,       // a normal answer's first half, then the connection is closed; nothing is accepted
  kClose,     // no answer: the connection is closed
  kReset,     // no answer: the connection is reset
  kDrip,      // as normal, but byte by byte with a pause between two
  kTrailers,  // as normal, but chunked, and trailers without end follow
};

// What the cloud does in one exchange. The functions make one and read like the words of the
// options: Behaviour::Stall(5s).
struct Behaviour {
  Action action = Action::kNormal;
  int httpStatus = 0;                  // kStatus: 200 to 599
  std::string text{};                  // kStatus, kNonsense: the body
  std::chrono::milliseconds stall{0};  // kStall, kPieces, kDrip: at most kStallLimit

  static Behaviour Normal() { return {}; }
  static Behaviour Refuse() { return {.action = Action::kRefuse}; }
  static Behaviour Status(int httpStatus, std::string body = {});
  static Behaviour Nonsense(std::string text);
  // Longer stalls and pauses are cut to kStallLimit.
  static Behaviour Stall(std::chrono::milliseconds stall);
  static Behaviour Pieces(std::chrono::milliseconds pause);
  static Behaviour Cut() { return {.action = Action::kCut}; }
  static Behaviour Close() { return {.action = Action::kClose}; }
  static Behaviour Reset() { return {.action = Action::kReset}; }
  static Behaviour Drip(std::chrono::milliseconds pause);
  static Behaviour Trailers() { return {.action = Action::kTrailers}; }

  bool operator==(const Behaviour&) const = default;
};

// Reads a list like `ok*2,refuse,http:500:'busy',stall:5,nonsense:'<html>',close,cut`. Throws
// std::invalid_argument with a line that says what is wrong with it.
std::vector<Behaviour> ParseBehaviours(std::string_view list);

// The grammar of the list, in lines for a help text.
extern const char kBehaviourHelp[];

// A behaviour as ParseBehaviours reads it: "stall:5".
std::string ToText(const Behaviour& behaviour);

// Holds the behaviours that each endpoint still has to show, and the one that it shows after them
// until it is told otherwise. Every thread may call it.
class Script {
 public:
  void Append(Endpoint endpoint, const std::vector<Behaviour>& behaviours);
  // The endpoint shows this whenever its queue is empty.
  void Stand(Endpoint endpoint, const Behaviour& behaviour);
  // Ends both: from now on the endpoint answers normally.
  void Clear(Endpoint endpoint);
  // Takes the endpoint's next behaviour; the standing one when none is left.
  Behaviour Next(Endpoint endpoint);

  Behaviour Standing(Endpoint endpoint) const;
  // How many behaviours are left in the endpoint's queue.
  std::size_t Queued(Endpoint endpoint) const;

 private:
  mutable util::Mutex m_mutex;
  std::array<std::deque<Behaviour>, kEndpoints> m_queues;  // guarded by m_mutex
  std::array<Behaviour, kEndpoints> m_standing{};          // guarded by m_mutex
};

}  // namespace cloud
