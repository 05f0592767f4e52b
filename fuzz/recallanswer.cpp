// The cloud's answer to the recall check, received in pieces. The first byte of the input is the
// size of a piece less one, the rest is the answer.
#include "parsememory/parsememory.h"
#include "service/cloudlink.h"
#include "service/parseguard.h"
#include "support/world.h"

namespace {

constexpr char kSerial[] = "TS20240117";

// What the recall check holds at the end of the transfer.
CollectedAnswer Collect(std::string_view text, std::size_t pieceBytes) {
  CollectedAnswer collected;
  while (!text.empty()) {
    const std::string piece(text.substr(0, pieceBytes));
    const std::size_t taken =
        OnRecallCheckAnswer(const_cast<char*>(piece.data()), 1, piece.size(), &collected);
    fuzz::Expect(taken == piece.size() || (taken == 0 && collected.text.empty()),
                 "a piece is taken whole, or nothing of the answer is left");
    if (taken == 0) break;
    text.remove_prefix(piece.size());
  }
  return collected;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const CollectedAnswer collected =
      Collect(fuzz::Content(data, size).substr(1), std::size_t{data[0]} + 1);
  ST_CHECKCALL_ACK order{};
  ParseGuarded(collected.text, [&] {
    return GetCParseMemoryInstance().ParseRecallFromMemory(kSerial, &collected.text, &order);
  });
  fuzz::Expect(fuzz::IsTerminated(order.sn), "the order's serial number is terminated");
  fuzz::Expect(order.sn[0] == '\0' || std::strcmp(order.sn, kSerial) == 0,
               "the order is this gateway's");
  return 0;
}
