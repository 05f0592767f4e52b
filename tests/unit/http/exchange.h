// One exchange with a server of the test's own: a frame to send, and what its answer callback gets.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "http/http.h"
#include "support/gateway.h"
#include "support/rawserver.h"

namespace test {

inline constexpr std::uint32_t kDone = 0;
inline constexpr auto kFailed = static_cast<std::uint32_t>(-1);
inline constexpr std::int32_t kUntouched = 7;  // what a success flag holds that nobody has set
inline constexpr char kLogin[] = R"({"sn":"S1","applyType":0})";

// Tests of the client against a server. Before each test nothing is received and no option set.
class HttpTest : public GatewayTest {
 protected:
  void SetUp() override;

  // Frames to the server's path "/e", with TakeAnswer as the answer callback.
  ST_FRAME_MEMORY_UPLOAD MemoryFrame(std::string_view body = kLogin) const;
  ST_FRAME_FILE_UPLOAD FileFrame(const std::string& path) const;
  // Posts kLogin to the server.
  std::uint32_t Post(AnswerCallback callback = TakeAnswer) const;

  // Answer callbacks: one takes every byte, one claims to have taken none, as a verdict of 0 does.
  static std::size_t TakeAnswer(char* data, std::size_t size, std::size_t count, void* userdata);
  static std::size_t RejectAnswer(char* data, std::size_t size, std::size_t count, void* userdata);
  // A read callback, which libcurl does not call for a body that is in memory.
  static std::size_t ReadNothing(char* buffer, std::size_t size, std::size_t count, void* userdata);

  // What the answer callbacks of this thread have received.
  static std::string& Answer();

  RawServer m_server;
};

}  // namespace test
