#include "system/support/misdeeds.h"

#include <sys/socket.h>

#include <chrono>
#include <thread>

#include "system/support/serviceprocess.h"
#include "util/text.h"

namespace test {
namespace {

constexpr std::chrono::milliseconds kApart{20};
constexpr std::chrono::milliseconds kSecondOfSilence{3};  // real time for a second of the service
constexpr std::size_t kBlockBytes = 65536;

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
  return text;
}

std::string Filled(std::string text, const std::string& good) {
  text = Replaced(std::move(text), "#", std::to_string(good.size()));
  text = Replaced(std::move(text), "~", util::Format("%zx", good.size()));
  return Replaced(std::move(text), "@", good);
}

}  // namespace

Misdeed Says(const std::string& bytes) {
  return [=](int connection, const std::string& good) { Send(connection, Filled(bytes, good)); };
}

Misdeed Answers(const std::string& body) {
  return [=](int connection, const std::string& good) {
    Send(connection, HttpAnswer(200, Filled(body, good)));
  };
}

Misdeed SaysApart(const std::vector<std::string>& pieces) {
  return [=](int connection, const std::string& good) {
    for (const auto& piece : pieces) {
      Send(connection, Filled(piece, good));
      std::this_thread::sleep_for(kApart);
    }
  };
}

Misdeed Floods(const std::string& head, const std::string& part, std::size_t bytes) {
  return [=](int connection, const std::string& /*good*/) {
    std::string block;
    while (block.size() < kBlockBytes) block += part;
    if (!Send(connection, head)) return;
    for (std::size_t sent = 0; sent < bytes; sent += block.size()) {
      if (!Send(connection, block)) return;
    }
  };
}

Misdeed Resets(const std::string& bytes) {
  return [=](int connection, const std::string& /*good*/) {
    Send(connection, bytes);
    std::this_thread::sleep_for(kApart);
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
  };
}

Misdeed Stalls(const std::string& bytes) {
  return [=](int connection, const std::string& /*good*/) {
    ServiceProcess::FallSilent();
    char end = 0;
    for (std::size_t second = 0; recv(connection, &end, 1, MSG_DONTWAIT) != 0; ++second) {
      if (second < bytes.size()) Send(connection, bytes.substr(second, 1));
      std::this_thread::sleep_for(kSecondOfSilence);
    }
    ServiceProcess::SpeakAgain();
  };
}

Misdeed SaysAndStalls(const std::string& bytes) {
  return [=](int connection, const std::string& good) {
    Send(connection, bytes);
    Stalls("")(connection, good);
  };
}

}  // namespace test
