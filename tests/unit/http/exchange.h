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

// What the answer callbacks of this thread have received since the test began.
struct Received {
  std::string bytes;
  std::vector<std::size_t> parts;  // sizes, call by call
  void* userdata = nullptr;
};
Received& Answer();

// Answer callbacks: one takes every byte, one claims to have taken none, as a verdict of 0 does.
std::size_t TakeAnswer(char* data, std::size_t size, std::size_t count, void* userdata);
std::size_t RejectAnswer(char* data, std::size_t size, std::size_t count, void* userdata);
// A read callback that has nothing to say.
std::size_t ReadNothing(char* buffer, std::size_t size, std::size_t count, void* userdata);

// Frames that are ready to go, with TakeAnswer as the answer callback.
ST_FRAME_MEMORY_UPLOAD MemoryFrame(const std::string& url, std::string_view body);
ST_FRAME_FILE_UPLOAD FileFrame(const std::string& url, const std::string& path);

// A port on the loopback at which nobody listens.
std::uint16_t ClosedPort();

// What it is for: every test of the client. Before each nothing is received and no option set.
class HttpTest : public GatewayTest {
 protected:
  void SetUp() override;
};

// The two ways to post from memory.
struct PostVariant {
  const char* name;
  std::uint32_t (CHttp::*post)(ST_FRAME_MEMORY_UPLOAD*);
  bool handsOverCallbackData;  // else the address of the success flag

  std::uint32_t operator()(ST_FRAME_MEMORY_UPLOAD& frame) const {
    return (GetCHttpInstance().*post)(&frame);
  }
  void* AnswerData(ST_FRAME_MEMORY_UPLOAD& frame) const {
    return handsOverCallbackData ? frame.callbackData : &frame.successFlag;
  }
};
inline constexpr PostVariant kPlainPost{"Plain", &CHttp::POST_MemoryData, false};
inline constexpr PostVariant kPostWithData{"WithExtraArgs", &CHttp::POST_MemoryData_WithExtraArgs,
                                           true};

void PrintTo(const PostVariant& variant, std::ostream* out);

inline constexpr std::uint32_t kDone = 0;
inline constexpr auto kFailed = static_cast<std::uint32_t>(-1);

// An answer that fails on its way, and what the log says about it.
struct Trouble {
  const char* name;
  RawServer::Pieces answer;
  const char* words;  // libcurl's
  int httpStatus;
};
std::vector<Trouble> Troubles();
void PrintTo(const Trouble& trouble, std::ostream* out);

// What a whole answer with an HTTP status amounts to.
struct StatusVerdict {
  int status;
  std::uint32_t result;
};
std::vector<StatusVerdict> StatusVerdicts();
void PrintTo(const StatusVerdict& verdict, std::ostream* out);

}  // namespace test
