#include "hardware/linux/drop_account.h"

namespace Hardware::Linux {
namespace {

// With nothing else to tell them apart: what wrapped between two agents came from near the end and
// did not get far.
bool looksWrapped(std::uint32_t now, std::uint32_t last) {
  constexpr std::uint32_t kQuarter = std::uint32_t{1} << 30;
  return last >= 3 * kQuarter && now < kQuarter;
}

}  // namespace

void DropAccount::advance(std::optional<QdiscCounts> const& counts) {
  if (!counts) {
    countIs(0);
    last_ = QdiscCounts{};
    return;
  }
  auto const low = static_cast<std::uint32_t>(count_);
  bool const beganAnew = last_ && counts->octets < last_->octets;
  bool const wraps =
      last_ ? counts->drops - low < std::uint32_t{1} << 31 : looksWrapped(counts->drops, low);
  if (!beganAnew && (counts->drops >= low || wraps))
    count_ += counts->drops - low;  // modulo 2^32
  else
    count_ = counts->drops;
  last_ = counts;
}

void DropAccount::countIs(std::uint64_t count) {
  count_ = count;
  last_.reset();
}

}  // namespace Hardware::Linux
