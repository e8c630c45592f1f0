#include "hardware/linux/drop_account.h"

#include "hardware/linux/count_order.h"

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
    _last = QdiscCounts{};
    return;
  }
  auto const low = static_cast<std::uint32_t>(_count);
  bool const beganAnew = _last && counts->octets < _last->octets;
  bool const wraps = _last ? !isBefore(counts->drops, low) : looksWrapped(counts->drops, low);
  if (!beganAnew && (counts->drops >= low || wraps))
    _count += counts->drops - low;  // modulo 2^32
  else
    _count = counts->drops;
  _last = counts;
}

void DropAccount::countIs(std::uint64_t count) {
  _count = count;
  _last.reset();
}

}  // namespace Hardware::Linux
