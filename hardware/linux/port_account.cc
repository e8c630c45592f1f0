#include "hardware/linux/port_account.h"

namespace Hardware::Linux {
namespace {

// Counts are modulo 2^64; of two of them the one that is less than half the circle ahead is later.
bool isBefore(std::uint64_t a, std::uint64_t b) { return static_cast<std::int64_t>(a - b) < 0; }

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
  base_ = readStatistics(row->statistics, row->ethStatistics);
  counted_ = base_;
  shown_ = base_;
  if (stored && rowContinues(base_, *stored)) stored_ = stored;
}

void PortAccount::moveTo(LinkIdentity const& identity, KernelCounts const& counts) {
  stored_ = StoredOffsets{identity, shown_};
  counted_ = shown_;
  for (std::size_t i = 0; i < kPortFields; ++i) {
    PortField const field = fieldAt(i);
    if (counts.known.contains(field)) stored_->offsets[field] -= counts.totals[field];
  }
  mustSave_ = true;
}

void PortAccount::advance(LinkIdentity const& identity, KernelCounts const& counts) {
  if (!stored_) {
    stored_ = StoredOffsets{identity, {}};
    mustSave_ = true;
  } else if (stored_->identity != identity) {
    stored_ = StoredOffsets{identity, shown_};
    counted_ = shown_;
    mustSave_ = true;
  }
  for (std::size_t i = 0; i < kPortFields; ++i) {
    PortField const field = fieldAt(i);
    if (!counts.known.contains(field)) continue;
    std::uint64_t const kernel = counts.totals[field];
    std::uint64_t const counted = kernel + stored_->offsets[field];
    if (startedAnew(kernel, counted_[field] - stored_->offsets[field])) {
      // What is shown, not what was counted: the row never held more than that.
      stored_->offsets[field] = shown_[field];
      counted_[field] = shown_[field] + kernel;
      mustSave_ = true;
    } else if (!isBefore(counted, counted_[field])) {
      counted_[field] = counted;
    }
  }
  known_ |= counts.known;
  advanceShown(shown_, counted_);
}

void PortAccount::sample(Interface::IntfStatistics& intf, Interface::EthStatistics& eth) const {
  PortTotals since;
  for (std::size_t i = 0; i < kPortFields; ++i)
    since.counts[i] = shown_.counts[i] - base_.counts[i];
  intf.outBroadcastPkts =
      known_.contains(PortField::outBroadcastPkts) ? Wib::MaybeU63(0) : Wib::MaybeU63::none();
  intf.inUnknownProtos = Wib::MaybeU63::none();
  for (auto* priorities :
       {&eth.inPfcFrames, &eth.outPfcFrames, &eth.inPfcPauseMicros, &eth.outPfcPauseMicros})
    priorities->entries.fill(Wib::MaybeU63::none());
  writeStatistics(since, intf, eth);
}

}  // namespace Hardware::Linux
