#include "hardware/linux/class_account.h"

#include "hardware/linux/count_order.h"

namespace Hardware::Linux {
namespace {

bool eitherIsBefore(ClassCounts const& a, ClassCounts const& b) {
  return isBefore(a.pkts, b.pkts) || isBefore(a.octets, b.octets);
}

std::uint64_t later(std::uint64_t a, std::uint64_t b) { return isBefore(a, b) ? b : a; }

ClassCounts operator+(ClassCounts const& a, ClassCounts const& b) {
  return {a.pkts + b.pkts, a.octets + b.octets};
}
ClassCounts operator-(ClassCounts const& a, ClassCounts const& b) {
  return {a.pkts - b.pkts, a.octets - b.octets};
}

}  // namespace

ClassAccount::ClassAccount(std::optional<ClassCounts> const& published,
                           std::optional<StoredClassOffsets> const& stored) {
  if (!published || !stored) return;
  _totals = {later(published->pkts, stored->offsets.pkts),
             later(published->octets, stored->offsets.octets)};
  _stored = stored;
}

bool ClassAccount::startedAnew(ClassSource const& source, ClassCounts const& kernel) const {
  return _stored->source != source || eitherIsBefore(kernel, _totals - _stored->offsets);
}

void ClassAccount::advance(ClassSource const& source, ClassCounts const& kernel) {
  if (!_stored || startedAnew(source, kernel)) {
    _stored = StoredClassOffsets{source, _totals};
    _mustSave = true;
  }
  _totals = kernel + _stored->offsets;
}

void ClassAccount::reset(ClassSource const& source, ClassCounts const& kernel) {
  advance(source, kernel);
  _stored->offsets = _totals;
  _mustSave = true;
}

}  // namespace Hardware::Linux
