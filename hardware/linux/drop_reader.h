#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "hardware/linux/drop_account.h"
#include "hardware/linux/link_reader.h"
#include "hardware/linux/nft_counters.h"

namespace Hardware::Linux {

/// What filters dropped of a link's packets: those of its clsact or ingress, or what an nftables
/// counter counts that was named for the link. A named counter that cannot be read leaves the count
/// as it is, and the operator is told once, and again when it is read.
class DropReader {
 public:
  /// By the link's name in the kernel.
  using Named = std::map<std::string, NftCounterName>;

  /// What is given by reference must outlive it. `now` is the agent's clock, `say` tells the
  /// operator.
  DropReader(LinkReader& links, NftCounterSource& counters, Named named,
             std::function<Kel::Seconds()> now, std::function<void(std::string const&)> say);

  /// Take in what is dropped at the present tick, if it can be read.
  void read(Link const& link, DropAccount& drops);

 private:
  void readNamed(Link const& link, NftCounterName const& counter, DropAccount& drops);

  LinkReader& _links;
  NftCounterSource& _counters;
  Named const _named;
  std::function<Kel::Seconds()> const _now;
  std::function<void(std::string const&)> const _say;
  std::set<std::string> _unreadable;  // links whose counters those are; told to the operator
};

}  // namespace Hardware::Linux
