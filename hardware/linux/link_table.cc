#include "hardware/linux/link_table.h"

#include <iterator>
#include <utility>

namespace Hardware::Linux {

void LinkTable::linkIs(Link const& link, Events& events) {
  if (_listing) _listed.insert(link.ifindex);
  auto const [at, isNew] = _links.try_emplace(link.ifindex, link);
  Link& known = at->second;
  if (isNew) {
    events.push_back({LinkEvent::Type::appeared, link, {}});
    return;
  }
  if (known.name != link.name) {
    std::string oldName = std::exchange(known.name, link.name);
    events.push_back({LinkEvent::Type::renamed, known, std::move(oldName)});
  }
  if (known != link) {
    known = link;
    events.push_back({LinkEvent::Type::changed, link, {}});
  }
}

void LinkTable::linkDel(int ifindex, Events& events) {
  auto const at = _links.find(ifindex);
  if (at == _links.end()) return;
  events.push_back({LinkEvent::Type::vanished, std::move(at->second), {}});
  _links.erase(at);
}

void LinkTable::listBegins(Events const& events) {
  _listed.clear();
  _listing = true;
  _listStart = events.size();
}

void LinkTable::listEnds(Events& events) {
  Events gone;
  for (auto at = _links.begin(); at != _links.end();) {
    int const ifindex = at->first;
    ++at;
    if (!_listed.contains(ifindex)) linkDel(ifindex, gone);
  }
  _listed.clear();
  _listing = false;
  events.insert(events.begin() + static_cast<Events::difference_type>(_listStart),
                std::make_move_iterator(gone.begin()), std::make_move_iterator(gone.end()));
}

Link const* LinkTable::link(int ifindex) const {
  auto const at = _links.find(ifindex);
  return at == _links.end() ? nullptr : &at->second;
}

}  // namespace Hardware::Linux
