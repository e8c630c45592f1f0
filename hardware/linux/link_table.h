#pragma once

#include <map>
#include <unordered_set>
#include <vector>

#include "hardware/linux/link.h"

namespace Hardware::Linux {

/// What is known of the links, and the events that news of them amounts to. Knows nothing of the
/// kernel. News that says nothing new is no event.
///
/// A list of all links may come at any time, mixed with news: between `listBegins` and `listEnds`
/// every link that is told counts as listed, and at the end those that were not are gone. They went
/// before the list was made, so their events go before those of the list: a name that passed from
/// one link to another in the meantime is free before it is taken.
class LinkTable {
 public:
  using Events = std::vector<LinkEvent>;

  // Events are added at the end; from listBegins to listEnds all orders get the same vector.

  /// A link is so. A name and other properties that change at once are two events, the name first.
  void linkIs(Link const& link, Events& events);
  /// A link is gone.
  void linkDel(int ifindex, Events& events);

  void listBegins(Events const& events);
  void listEnds(Events& events);

  Link const* link(int ifindex) const;
  std::map<int, Link> const& links() const { return _links; }

 private:
  std::map<int, Link> _links;
  bool _listing = false;
  std::unordered_set<int> _listed;
  std::size_t _listStart = 0;  // events before the list
};

}  // namespace Hardware::Linux
