#include "hardware/linux/port_account.h"

#include "hardware/linux/count_order.h"

namespace Hardware::Linux {
namespace {

// Of the kernel's own counts: beside an old offset, every reset would look small.
bool startedAnew(std::uint64_t kernel, std::uint64_t last) {
  return isBefore(kernel, last) && last - kernel > last / 64;
}

PortField fieldAt(std::size_t i) { return static_cast<PortField>(i); }

bool rowContinues(PortTotals const& row, StoredOffsets const& stored) {
  for (std::size_t i = 0; i < kPortFields; ++i)
    if (isBefore(row[fieldAt(i)], stored.offsets[fieldAt(i)])) return false;
  return true;
}

}  // namespace

PortAccount::PortAccount(std::optional<Interface::EthIntfCounterGlim> const& row,
                         std::optional<StoredOffsets> const& stored) {
  if (!row) return;
  _base = readStatistics(row->statistics, row->ethStatistics);
  _counted = _base;
  _shown = _base;
  if (stored && rowContinues(_base, *stored)) _stored = stored;
}

void PortAccount::moveTo(LinkIdentity const& identity, KernelCounts const& counts) {
  _stored = StoredOffsets{identity, _shown};
  _counted = _shown;
  for (std::size_t i = 0; i < kPortFields; ++i) {
    PortField const field = fieldAt(i);
    if (counts.known.contains(field)) _stored->offsets[field] -= counts.totals[field];
  }
  _mustSave = true;
}

void PortAccount::advance(LinkIdentity const& identity, KernelCounts const& counts) {
  if (!_stored) {
    _stored = StoredOffsets{identity, {}};
    _mustSave = true;
  } else if (_stored->identity != identity) {
    _stored = StoredOffsets{identity, _shown};
    _counted = _shown;
    _mustSave = true;
  }
  for (std::size_t i = 0; i < kPortFields; ++i) {
    PortField const field = fieldAt(i);
    if (!counts.known.contains(field)) continue;
    std::uint64_t const kernel = counts.totals[field];
    std::uint64_t const counted = kernel + _stored->offsets[field];
    if (startedAnew(kernel, _counted[field] - _stored->offsets[field])) {
      // What is shown, not what was counted: the row never held more than that.
      _stored->offsets[field] = _shown[field];
      _counted[field] = _shown[field] + kernel;
      _mustSave = true;
    } else if (!isBefore(counted, _counted[field])) {
      _counted[field] = counted;
    }
  }
  _known |= counts.known;
  advanceShown(_shown, _counted);
}

void PortAccount::sample(Interface::IntfStatistics& intf, Interface::EthStatistics& eth) const {
  PortTotals since;
  for (std::size_t i = 0; i < kPortFields; ++i)
    since.counts[i] = _shown.counts[i] - _base.counts[i];
  intf.outBroadcastPkts =
      _known.contains(PortField::outBroadcastPkts) ? Wib::MaybeU63(0) : Wib::MaybeU63::none();
  intf.inUnknownProtos = Wib::MaybeU63::none();
  for (auto* priorities :
       {&eth.inPfcFrames, &eth.outPfcFrames, &eth.inPfcPauseMicros, &eth.outPfcPauseMicros})
    priorities->entries.fill(Wib::MaybeU63::none());
  writeStatistics(since, intf, eth);
}

}  // namespace Hardware::Linux
