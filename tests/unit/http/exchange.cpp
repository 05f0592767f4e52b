#include "exchange.h"

#include "taps.h"
#include "util/text.h"

namespace test {

void HttpTest::SetUp() {
  GatewayTest::SetUp();
  GetCHttpInstance();
  ForgetOptions();
  Answer().clear();
}

ST_FRAME_MEMORY_UPLOAD HttpTest::MemoryFrame(std::string_view body) const {
  ST_FRAME_MEMORY_UPLOAD frame{};
  util::CopyText(frame.url, m_server.Url("/e"));
  body.copy(frame.body, sizeof(frame.body));
  frame.bodyLength = static_cast<std::uint16_t>(body.size());
  frame.answerCallback = TakeAnswer;
  return frame;
}

ST_FRAME_FILE_UPLOAD HttpTest::FileFrame(const std::string& path) const {
  ST_FRAME_FILE_UPLOAD frame{};
  util::CopyText(frame.url, m_server.Url("/e"));
  util::CopyText(frame.filePath, path);
  frame.answerCallback = TakeAnswer;
  frame.successFlag = kUntouched;
  return frame;
}

std::uint32_t HttpTest::Post(AnswerCallback callback) const {
  auto frame = MemoryFrame();
  frame.answerCallback = callback;
  return GetCHttpInstance().POST_MemoryData(&frame);
}

std::string& HttpTest::Answer() {
  static thread_local std::string answer;
  return answer;
}

std::size_t HttpTest::TakeAnswer(char* data, std::size_t size, std::size_t count,
                                 void* /*userdata*/) {
  Answer().append(data, size * count);
  return size * count;
}

std::size_t HttpTest::RejectAnswer(char* data, std::size_t size, std::size_t count,
                                   void* userdata) {
  TakeAnswer(data, size, count, userdata);
  return 0;
}

std::size_t HttpTest::ReadNothing(char* /*buffer*/, std::size_t /*size*/, std::size_t /*count*/,
                                  void* /*userdata*/) {
  return 0;
}

}  // namespace test
