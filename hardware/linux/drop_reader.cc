#include "hardware/linux/drop_reader.h"

#include <utility>

#include "hardware/linux/queue_counts.h"

namespace Hardware::Linux {

DropReader::DropReader(LinkReader& links, NftCounterSource& counters, Named named,
                       std::function<Kel::Seconds()> now,
                       std::function<void(std::string const&)> say)
    : _links(links),
      _counters(counters),
      _named(std::move(named)),
      _now(std::move(now)),
      _say(std::move(say)) {}

void DropReader::read(Link const& link, DropAccount& drops) {
  auto const counter = _named.find(link.name);
  if (counter != _named.end()) {
    readNamed(link, counter->second, drops);
  } else if (auto const qdiscs = _links.qdiscs(link.ifindex)) {
    drops.advance(filterCounts(*qdiscs));
  }
}

void DropReader::readNamed(Link const& link, NftCounterName const& counter, DropAccount& drops) {
  auto const reading = _counters.read(_now(), counter);
  std::string const what = "the nftables counter " + counter.text() + " of link " + link.name;
  if (!reading.error) {
    drops.countIs(reading.pkts);
    if (_unreadable.erase(link.name) != 0) _say(what + " is read again");
  } else if (_unreadable.insert(link.name).second) {
    _say(what + " cannot be read, its last count stays: " + reading.error.message());
  }
}

}  // namespace Hardware::Linux
