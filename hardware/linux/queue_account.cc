#include "hardware/linux/queue_account.h"

#include <algorithm>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/count_order.h"

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

// A count of 32 bits that stepped back either wrapped, and then is little ahead, or began anew.
bool wrapped(std::uint32_t now, std::uint32_t last) { return now < last && !isBefore(now, last); }

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
  _totals = totalsOf(*row);
  for (std::size_t slot = 0; slot < kQueueSlots; ++slot)
    _dropOctets[slot] =
        row->statistics[QueueIndex(static_cast<std::uint32_t>(slot))].counts.dropOctets;
  _dropOctets[kAllQueues] = row->intfCounts.dropOctets;
  if (!stored || !rowContinues(_totals, stored->offsets)) return;
  _stored = stored;
  // Room that was only reserved tells no source; the row may be older, its offsets lost.
  _sourcesAreKnown = stored->sources != decltype(stored->sources){};
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
  QueueTotals const& offsets = _stored->offsets;
  return {_stored->sources[slot],
          {_totals.pkts[slot] - offsets.pkts[slot], _totals.octets[slot] - offsets.octets[slot],
           static_cast<std::uint32_t>(_totals.dropPkts[slot] - offsets.dropPkts[slot])}};
}

QueueAccount::Delta QueueAccount::follow(std::uint32_t key, std::size_t slot, Queue const& now) {
  auto const [at, isNew] = _seen.try_emplace(key);
  Seen& seen = at->second;
  if (isNew) {
    seen = storedAt(slot);
    if (!_sourcesAreKnown) seen.source = now.source;
  }
  Delta const delta = since(seen, now);
  seen = {now.source, now.counts};
  return delta;
}

void QueueAccount::add(std::size_t slot, Delta const& delta) {
  _totals.pkts[slot] += delta.pkts;
  _totals.octets[slot] += delta.octets;
  _totals.dropPkts[slot] += delta.dropPkts;
}

void QueueAccount::take(QueueReading const& reading, Slots const& slots) {
  constexpr std::size_t kLast = kQueueSlots - 1;
  auto const addOfQueue = [&](std::size_t slot, Delta const& delta) {
    add(slot, delta);
    if (!reading.together) add(kAllQueues, delta);
  };
  bool const sharedResumes = _resumes && slots.sharers[kLast] > 1;
  if (sharedResumes) {
    Seen stored = storedAt(kLast);
    if (!_sourcesAreKnown) stored.source = slots.sums[kLast].source;
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
  for (Queue const& queue : reading.queues) _seen[queue.number] = {queue.source, queue.counts};
  if (reading.together) _seen[kTogether] = {reading.together->source, reading.together->counts};
}

void QueueAccount::settle(LinkIdentity const& identity, Slots const& slots) {
  StoredQueueOffsets now = *_stored;
  now.identity = identity;
  for (std::size_t slot = 0; slot < kQueueTotals; ++slot) {
    if (slots.sharers[slot] == 0) continue;
    QdiscCounts const& counts = slots.sums[slot].counts;
    now.sources[slot] = slots.sums[slot].source;
    now.offsets.pkts[slot] = _totals.pkts[slot] - counts.pkts;
    now.offsets.octets[slot] = _totals.octets[slot] - counts.octets;
    now.offsets.dropPkts[slot] = _totals.dropPkts[slot] - counts.drops;
  }
  if (*_stored == now) return;
  _stored = now;
  _mustSave = true;
}

void QueueAccount::advance(LinkIdentity const& identity, QueueReading const& reading) {
  if (!_stored) {
    _stored = StoredQueueOffsets{identity, {}, {}};
    _mustSave = true;
  } else if (_stored->identity != identity) {
    // Of another link everything is new.
    _seen.clear();
    _stored->sources = {};
    _stored->offsets = _totals;
    _sourcesAreKnown = true;
    _resumes = false;
  }
  Slots const slots(reading);
  take(reading, slots);
  see(reading);
  settle(identity, slots);
  if (reading.countsTogether()) {
    _resumes = false;
    _sourcesAreKnown = true;
  }
  for (std::size_t slot = 0; slot < kQueueSlots; ++slot) _counted[slot] = slots.sharers[slot] != 0;
  _counted[kAllQueues] = reading.countsTogether();
}

void QueueAccount::moveTo(LinkIdentity const& identity, QueueReading const& reading) {
  _stored = StoredQueueOffsets{identity, {}, _totals};
  settle(identity, Slots(reading));
  _mustSave = true;
}

void QueueAccount::sample(OruTypes::IntfQueueCounters& sample) const {
  auto const counts = [this](std::size_t slot) {
    return QueueCounts{_totals.pkts[slot], _totals.octets[slot], _totals.dropPkts[slot],
                       _dropOctets[slot]};
  };
  for (std::size_t slot = 0; slot < kQueueSlots; ++slot)
    if (_counted[slot])
      sample.queueCountsIs(QueueIndex(static_cast<std::uint32_t>(slot)), counts(slot));
  if (_counted[kAllQueues]) sample.intfCountsIs(counts(kAllQueues));
}

}  // namespace Hardware::Linux
