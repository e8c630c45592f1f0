#include "hardware/linux/queue_account.h"

#include <algorithm>

#include "counters/pollers/counter_records.h"

namespace Hardware::Linux {
namespace {

using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;
using Queue = QueueReading::Queue;

constexpr std::uint32_t kTogether = ~std::uint32_t{0};

std::size_t slotOf(Queue const& queue) {
  return std::min<std::size_t>(queue.number, QueueIndex::max);
}

bool isBefore(std::uint64_t a, std::uint64_t b) { return static_cast<std::int64_t>(a - b) < 0; }

// A count of 32 bits that stepped back either wrapped, and then is little ahead, or began anew.
bool wrapped(std::uint32_t now, std::uint32_t last) {
  return now < last && static_cast<std::uint32_t>(now - last) < std::uint32_t{1} << 31;
}

// Some kernels count packets in 32 bits.
bool wrapped(std::uint64_t now, std::uint64_t last) {
  return last >> 32 == 0 &&
         wrapped(static_cast<std::uint32_t>(now), static_cast<std::uint32_t>(last));
}

QueueTotals totalsOf(IntfQueueCounter const& row) {
  QueueTotals totals;
  for (std::size_t slot = 0; slot < kQueueTotals; ++slot) {
    QueueCounts const& counts =
        slot == kAllQueues ? row.intfCounts
                           : row.statistics[QueueIndex(static_cast<std::uint32_t>(slot))].counts;
    totals.pkts[slot] = counts.pkts;
    totals.octets[slot] = counts.octets;
    totals.dropPkts[slot] = counts.dropPkts;
  }
  return totals;
}

bool rowContinues(QueueTotals const& row, QueueTotals const& offsets) {
  for (std::size_t slot = 0; slot < kQueueTotals; ++slot)
    if (isBefore(row.pkts[slot], offsets.pkts[slot]) ||
        isBefore(row.octets[slot], offsets.octets[slot]) ||
        isBefore(row.dropPkts[slot], offsets.dropPkts[slot]))
      return false;
  return true;
}

}  // namespace

struct QueueAccount::Slots {
  std::array<Queue, kQueueTotals> sums{};
  std::array<std::uint32_t, kQueueTotals> sharers{};

  explicit Slots(QueueReading const& reading) {
    for (Queue const& queue : reading.queues) add(slotOf(queue), queue);
    if (reading.together) add(kAllQueues, *reading.together);
  }
  void add(std::size_t slot, Queue const& queue) {
    Queue& sum = sums[slot];
    if (sharers[slot]++ == 0) {
      sum = queue;
      return;
    }
    // In whatever order they are read.
    sum.source += queue.source ^ (std::uint64_t{queue.number} * 0x9e3779b97f4a7c15U);
    sum.counts.pkts += queue.counts.pkts;
    sum.counts.octets += queue.counts.octets;
    sum.counts.drops += queue.counts.drops;
  }
};

QueueAccount::QueueAccount(std::optional<IntfQueueCounter> const& row,
                           std::optional<StoredQueueOffsets> const& stored) {
  if (!row) return;
  totals_ = totalsOf(*row);
  for (std::size_t slot = 0; slot < kQueueSlots; ++slot)
    dropOctets_[slot] =
        row->statistics[QueueIndex(static_cast<std::uint32_t>(slot))].counts.dropOctets;
  dropOctets_[kAllQueues] = row->intfCounts.dropOctets;
  if (!stored || !rowContinues(totals_, stored->offsets)) return;
  stored_ = stored;
  // Room that was only reserved tells no source; the row may be older, its offsets lost.
  sourcesAreKnown_ = stored->sources != decltype(stored->sources){};
}

bool QueueAccount::startedAnew(Seen const& seen, Queue const& now) {
  QdiscCounts const& was = seen.counts;
  QdiscCounts const& is = now.counts;
  return seen.source != now.source || is.octets < was.octets ||
         (is.pkts < was.pkts && !wrapped(is.pkts, was.pkts)) ||
         (is.drops < was.drops && !wrapped(is.drops, was.drops));
}

QueueAccount::Delta QueueAccount::since(Seen const& seen, Queue const& now) {
  QdiscCounts const& was = seen.counts;
  QdiscCounts const& is = now.counts;
  if (startedAnew(seen, now)) return {is.pkts, is.octets, is.drops};
  std::uint64_t const pkts =
      is.pkts < was.pkts ? static_cast<std::uint32_t>(is.pkts - was.pkts) : is.pkts - was.pkts;
  return {pkts, is.octets - was.octets, static_cast<std::uint32_t>(is.drops - was.drops)};
}

// What the kernel had counted when the row held what it now does.
QueueAccount::Seen QueueAccount::storedAt(std::size_t slot) const {
  QueueTotals const& offsets = stored_->offsets;
  return {stored_->sources[slot],
          {totals_.pkts[slot] - offsets.pkts[slot], totals_.octets[slot] - offsets.octets[slot],
           static_cast<std::uint32_t>(totals_.dropPkts[slot] - offsets.dropPkts[slot])}};
}

QueueAccount::Delta QueueAccount::follow(std::uint32_t key, std::size_t slot, Queue const& now) {
  auto const [at, isNew] = seen_.try_emplace(key);
  Seen& seen = at->second;
  if (isNew) {
    seen = storedAt(slot);
    if (!sourcesAreKnown_) seen.source = now.source;
  }
  Delta const delta = since(seen, now);
  seen = {now.source, now.counts};
  return delta;
}

void QueueAccount::add(std::size_t slot, Delta const& delta) {
  totals_.pkts[slot] += delta.pkts;
  totals_.octets[slot] += delta.octets;
  totals_.dropPkts[slot] += delta.dropPkts;
}

void QueueAccount::take(QueueReading const& reading, Slots const& slots) {
  constexpr std::size_t kLast = kQueueSlots - 1;
  auto const addOfQueue = [&](std::size_t slot, Delta const& delta) {
    add(slot, delta);
    if (!reading.together) add(kAllQueues, delta);
  };
  bool const sharedResumes = resumes_ && slots.sharers[kLast] > 1;
  if (sharedResumes) {
    Seen stored = storedAt(kLast);
    if (!sourcesAreKnown_) stored.source = slots.sums[kLast].source;
    if (!startedAnew(stored, slots.sums[kLast]))
      addOfQueue(kLast, since(stored, slots.sums[kLast]));
  }
  for (Queue const& queue : reading.queues) {
    std::size_t const slot = slotOf(queue);
    if (!sharedResumes || slot != kLast) addOfQueue(slot, follow(queue.number, slot, queue));
  }
  if (reading.together) add(kAllQueues, follow(kTogether, kAllQueues, *reading.together));
}

void QueueAccount::see(QueueReading const& reading) {
  for (Queue const& queue : reading.queues) seen_[queue.number] = {queue.source, queue.counts};
  if (reading.together) seen_[kTogether] = {reading.together->source, reading.together->counts};
}

void QueueAccount::settle(LinkIdentity const& identity, Slots const& slots) {
  StoredQueueOffsets now = *stored_;
  now.identity = identity;
  for (std::size_t slot = 0; slot < kQueueTotals; ++slot) {
    if (slots.sharers[slot] == 0) continue;
    QdiscCounts const& counts = slots.sums[slot].counts;
    now.sources[slot] = slots.sums[slot].source;
    now.offsets.pkts[slot] = totals_.pkts[slot] - counts.pkts;
    now.offsets.octets[slot] = totals_.octets[slot] - counts.octets;
    now.offsets.dropPkts[slot] = totals_.dropPkts[slot] - counts.drops;
  }
  if (*stored_ == now) return;
  stored_ = now;
  mustSave_ = true;
}

void QueueAccount::advance(LinkIdentity const& identity, QueueReading const& reading) {
  if (!stored_) {
    stored_ = StoredQueueOffsets{identity, {}, {}};
    mustSave_ = true;
  } else if (stored_->identity != identity) {
    // Of another link everything is new.
    seen_.clear();
    stored_->sources = {};
    stored_->offsets = totals_;
    sourcesAreKnown_ = true;
    resumes_ = false;
  }
  Slots const slots(reading);
  take(reading, slots);
  see(reading);
  settle(identity, slots);
  if (reading.countsTogether()) {
    resumes_ = false;
    sourcesAreKnown_ = true;
  }
  for (std::size_t slot = 0; slot < kQueueSlots; ++slot) counted_[slot] = slots.sharers[slot] != 0;
  counted_[kAllQueues] = reading.countsTogether();
}

void QueueAccount::moveTo(LinkIdentity const& identity, QueueReading const& reading) {
  stored_ = StoredQueueOffsets{identity, {}, totals_};
  settle(identity, Slots(reading));
  mustSave_ = true;
}

void QueueAccount::sample(OruTypes::IntfQueueCounters& sample) const {
  auto const counts = [this](std::size_t slot) {
    return QueueCounts{totals_.pkts[slot], totals_.octets[slot], totals_.dropPkts[slot],
                       dropOctets_[slot]};
  };
  for (std::size_t slot = 0; slot < kQueueSlots; ++slot)
    if (counted_[slot])
      sample.queueCountsIs(QueueIndex(static_cast<std::uint32_t>(slot)), counts(slot));
  if (counted_[kAllQueues]) sample.intfCountsIs(counts(kAllQueues));
}

}  // namespace Hardware::Linux
