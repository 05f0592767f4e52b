#include "console/bench/player.h"

#include <algorithm>

#include "console/bench/placeholders.h"
#include "console/web/httpstatus.h"
#include "util/text.h"

namespace console {
namespace {

constexpr std::chrono::milliseconds kCheckEvery{100};

class Player {
 public:
  explicit Player(const PlayTools& tools) : m_tools(tools) {}

  bool Do(const Step& step) const {
    switch (step.kind) {
      case Step::Kind::kSpeed:
        return Post(step, "/api/clock", util::Format("{\"speed\":%g}", step.number));
      case Step::Kind::kPost:
        return Post(step, step.path, WithTimes(step.text, m_tools.now()));
      case Step::Kind::kWait:
        return Wait(step);
      case Step::Kind::kExpect:
        return Expect(step);
      case Step::Kind::kPause:
        return Pause(step.number);
      case Step::Kind::kShow:
        m_tools.show(step.text);
        return true;
      case Step::Kind::kSay:
        break;
    }
    m_tools.say(step.text);
    return true;
  }

 private:
  bool Fail(const Step& step, const std::string& text) const {
    m_tools.say(util::Format("line %d: ", step.line) + text);
    return false;
  }

  bool Post(const Step& step, const std::string& path, const std::string& json) const {
    const Reply reply = m_tools.post(path, json);
    if (IsGood(reply.status)) return true;
    return Fail(step, path + util::Format(" answered %d ", reply.status) + reply.body);
  }

  Condition::Finding Look(const Step& step) const {
    rapidjson::Document state;
    state.Parse(m_tools.state().c_str());
    return step.condition->Check(state);
  }

  bool Wait(const Step& step) const {
    const double until = m_tools.elapsed() + step.number;
    for (;;) {
      const Condition::Finding finding = Look(step);
      if (finding.holds) return true;
      if (m_tools.elapsed() >= until) {
        return Fail(step, step.condition->Text() +
                              util::Format(" did not come in %g s; it is ", step.number) +
                              finding.actual);
      }
      if (!m_tools.pause(kCheckEvery)) return false;
    }
  }

  // A misspelt path must not pass.
  bool Expect(const Step& step) const {
    const Condition::Finding finding = Look(step);
    if (finding.holds) return true;
    if (!finding.isThere) return Fail(step, "the state has no " + step.condition->Path());
    return Fail(step, "expected " + step.condition->Text() + "; it is " + finding.actual);
  }

  bool Pause(double seconds) const {
    const double until = m_tools.elapsed() + seconds;
    while (m_tools.elapsed() < until) {
      if (!m_tools.pause(kCheckEvery)) return false;
    }
    return true;
  }

  const PlayTools& m_tools;
};

}  // namespace

bool Play(const Scenario& scenario, const PlayTools& tools) {
  const Player player(tools);
  return std::ranges::all_of(scenario.steps, [&](const Step& step) { return player.Do(step); });
}

}  // namespace console
