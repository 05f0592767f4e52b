// The cloud's answer to the upload of a file.
#include "service/uploaddrivers.h"
#include "support/world.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::int32_t successFlag = 0;
  const std::size_t verdict = OnUploadFileAnswer(fuzz::Text(data), 1, size, &successFlag);

  fuzz::Expect(successFlag == (verdict == 0 ? 1 : 0), "verdict and success flag agree");
  return 0;
}
