#include "hardware/linux/nft_counters.h"

#include <libnftnl/object.h>
#include <linux/netfilter.h>
#include <linux/netfilter/nf_tables.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netlink.h>

#include <array>
#include <memory>
#include <new>
#include <sstream>

namespace Hardware::Linux {
namespace {

struct Family {
  std::string_view name;
  std::uint8_t number;
};
constexpr std::array<Family, 6> kFamilies{{{"ip", NFPROTO_IPV4},
                                           {"ip6", NFPROTO_IPV6},
                                           {"inet", NFPROTO_INET},
                                           {"arp", NFPROTO_ARP},
                                           {"bridge", NFPROTO_BRIDGE},
                                           {"netdev", NFPROTO_NETDEV}}};

using Object = std::unique_ptr<nftnl_obj, decltype(&nftnl_obj_free)>;

Object newObject() {
  Object object(nftnl_obj_alloc(), &nftnl_obj_free);
  if (!object) throw std::bad_alloc();
  return object;
}

constexpr std::uint16_t messageType(std::uint16_t command) {
  return static_cast<std::uint16_t>(NFNL_SUBSYS_NFTABLES << 8 | command);
}

}  // namespace

std::optional<NftCounterName> NftCounterName::parse(std::string_view text) {
  std::istringstream words{std::string(text)};
  std::string family, excess;
  NftCounterName counter;
  if (!(words >> family >> counter.table >> counter.name) || words >> excess) return std::nullopt;
  if (counter.table.size() >= NFT_NAME_MAXLEN || counter.name.size() >= NFT_NAME_MAXLEN)
    return std::nullopt;
  for (Family const& each : kFamilies) {
    if (each.name != family) continue;
    counter.family = each.number;
    return counter;
  }
  return std::nullopt;
}

std::string_view NftCounterName::families() { return "ip, ip6, inet, arp, bridge and netdev"; }

std::string NftCounterName::text() const {
  std::string text;
  for (Family const& each : kFamilies)
    if (each.number == family) text = each.name;
  return text + ' ' + table + ' ' + name;
}

NftCounters::NftCounters() : socket_(NETLINK_NETFILTER) {}

NftCounterSource::Reading NftCounters::read(double now, NftCounterName const& counter) {
  auto const [at, isNew] = known_.try_emplace(counter.text());
  Known& known = at->second;
  if (isNew || known.tick != now) known = {now, ask(counter)};
  return known.reading;
}

NftCounterSource::Reading NftCounters::ask(NftCounterName const& counter) {
  ++requests_;
  auto const wanted = newObject();
  nftnl_obj_set_str(wanted.get(), NFTNL_OBJ_TABLE, counter.table.c_str());
  nftnl_obj_set_str(wanted.get(), NFTNL_OBJ_NAME, counter.name.c_str());
  nftnl_obj_set_u32(wanted.get(), NFTNL_OBJ_TYPE, NFT_OBJECT_COUNTER);
  NetlinkRequest request(
      messageType(NFT_MSG_GETOBJ),
      nfgenmsg{.nfgen_family = counter.family, .version = NFNETLINK_V0, .res_id = 0});
  nftnl_obj_nlmsg_build_payload(&request.header(), wanted.get());
  std::optional<std::uint64_t> pkts;
  auto error = socket_.request(request, [&](nlmsghdr const& message) {
    if (auto const count = readNftCounter(message)) pkts = count;
  });
  if (!error && !pkts) error = std::make_error_code(std::errc::bad_message);
  return {pkts.value_or(0), error};
}

std::optional<std::uint64_t> readNftCounter(nlmsghdr const& message) {
  if (message.nlmsg_type != messageType(NFT_MSG_NEWOBJ)) return std::nullopt;
  if (!fixedHeader<nfgenmsg>(message)) return std::nullopt;
  auto const object = newObject();
  if (nftnl_obj_nlmsg_parse(&message, object.get()) < 0 ||
      !nftnl_obj_is_set(object.get(), NFTNL_OBJ_CTR_PKTS))
    return std::nullopt;
  return nftnl_obj_get_u64(object.get(), NFTNL_OBJ_CTR_PKTS);
}

}  // namespace Hardware::Linux
