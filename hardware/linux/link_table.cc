#include "hardware/linux/link_table.h"

#include <iterator>
#include <utility>

namespace Hardware::Linux {

void LinkTable::linkIs(Link const& link, Events& events) {
  if (listing_) listed_.insert(link.ifindex);
  auto const [at, isNew] = links_.try_emplace(link.ifindex, link);
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
  auto const at = links_.find(ifindex);
  if (at == links_.end()) return;
  events.push_back({LinkEvent::Type::vanished, std::move(at->second), {}});
  links_.erase(at);
}

void LinkTable::listBegins(Events const& events) {
  listed_.clear();
  listing_ = true;
  listStart_ = events.size();
}

void LinkTable::listEnds(Events& events) {
  Events gone;
  for (auto at = links_.begin(); at != links_.end();) {
    int const ifindex = at->first;
    ++at;
    if (!listed_.contains(ifindex)) linkDel(ifindex, gone);
  }
  listed_.clear();
  listing_ = false;
  events.insert(events.begin() + static_cast<Events::difference_type>(listStart_),
                std::make_move_iterator(gone.begin()), std::make_move_iterator(gone.end()));
}

Link const* LinkTable::link(int ifindex) const {
  auto const at = links_.find(ifindex);
  return at == links_.end() ? nullptr : &at->second;
}

}  // namespace Hardware::Linux
