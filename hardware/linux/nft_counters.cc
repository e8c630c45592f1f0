#include "hardware/linux/nft_counters.h"

#include <arpa/inet.h>
#include <endian.h>
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

std::string familyName(std::uint8_t number) {
  for (Family const& each : kFamilies)
    if (each.number == number) return std::string(each.name);
  return {};
}

nfgenmsg headerOf(std::uint8_t family) {
  return {.nfgen_family = family, .version = NFNETLINK_V0, .res_id = 0};
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

std::string NftCounterName::text() const { return familyName(family) + ' ' + table + ' ' + name; }

std::string NftTableName::text() const { return familyName(family) + ' ' + name; }

NftCounters::NftCounters() : _socket(NETLINK_NETFILTER) {}

NftCounterSource::Reading NftCounters::read(double now, NftCounterName const& counter) {
  Known& known = _known[counter.text()];
  known.asking.at(now, [&] { known.reading = ask(counter); });
  return known.reading;
}

NftCounterSource::Reading NftCounters::ask(NftCounterName const& counter) {
  std::optional<NftCounter> answer;
  auto const error = ask(NFT_MSG_GETOBJ, counter, answer);
  return {answer ? answer->pkts : 0, error};
}

NftCounterSource::ResetReading NftCounters::reset(NftCounterName const& counter) {
  std::optional<NftCounter> answer;
  auto const error = ask(NFT_MSG_GETOBJ_RESET, counter, answer);
  return {answer.value_or(NftCounter{}), error};
}

std::error_code NftCounters::ask(std::uint16_t command, NftCounterName const& counter,
                                 std::optional<NftCounter>& answer) {
  ++_requests;
  auto const wanted = newObject();
  nftnl_obj_set_str(wanted.get(), NFTNL_OBJ_TABLE, counter.table.c_str());
  nftnl_obj_set_str(wanted.get(), NFTNL_OBJ_NAME, counter.name.c_str());
  nftnl_obj_set_u32(wanted.get(), NFTNL_OBJ_TYPE, NFT_OBJECT_COUNTER);
  NetlinkRequest request(messageType(command), headerOf(counter.family));
  nftnl_obj_nlmsg_build_payload(&request.header(), wanted.get());
  auto const error = _socket.request(request, [&](nlmsghdr const& message) {
    if (auto const counted = readNftCounter(message)) answer = counted;
  });
  return !error && !answer ? std::make_error_code(std::errc::bad_message) : error;
}

NftCounterSource::TableReading NftCounters::readTable(NftTableName const& name) {
  TableReading reading;
  reading.error = askUntilWhole([&] {
    reading.table = {};
    return readTableOnce(name, reading.table);
  });
  if (reading.error) reading.table = {};
  return reading;
}

// The handle and the list are two questions: both answers must be of one state of the ruleset, or
// the counters of a new table pass for those of the old one.
std::error_code NftCounters::readTableOnce(NftTableName const& name, NftTable& table) {
  _requests += 2;
  std::optional<std::uint16_t> generation;
  NetlinkRequest about(messageType(NFT_MSG_GETTABLE), headerOf(name.family));
  about.putText(NFTA_TABLE_NAME, name.name);
  auto error = _socket.request(about, [&](nlmsghdr const& message) {
    if (auto const handle = readNftTableHandle(message)) table.handle = *handle;
    generation = readNftGeneration(message);
  });
  if (error) return error;

  bool isOneState = true;
  auto const wanted = newObject();
  nftnl_obj_set_str(wanted.get(), NFTNL_OBJ_TABLE, name.name.c_str());
  nftnl_obj_set_u32(wanted.get(), NFTNL_OBJ_TYPE, NFT_OBJECT_COUNTER);
  NetlinkRequest list(messageType(NFT_MSG_GETOBJ), headerOf(name.family));
  nftnl_obj_nlmsg_build_payload(&list.header(), wanted.get());
  error = _socket.dump(list, [&](nlmsghdr const& message) {
    auto counter = readNftCounter(message);
    if (!counter) return;
    isOneState = isOneState && readNftGeneration(message) == generation;
    table.counters.push_back(std::move(*counter));
  });
  return !error && !isOneState ? std::make_error_code(std::errc::interrupted) : error;
}

std::optional<NftCounter> readNftCounter(nlmsghdr const& message) {
  if (message.nlmsg_type != messageType(NFT_MSG_NEWOBJ)) return std::nullopt;
  if (!fixedHeader<nfgenmsg>(message)) return std::nullopt;
  auto const object = newObject();
  auto const* const got = object.get();
  if (nftnl_obj_nlmsg_parse(&message, object.get()) < 0 ||
      !nftnl_obj_is_set(got, NFTNL_OBJ_CTR_PKTS))
    return std::nullopt;
  NftCounter counter{.pkts = nftnl_obj_get_u64(object.get(), NFTNL_OBJ_CTR_PKTS)};
  if (nftnl_obj_is_set(got, NFTNL_OBJ_CTR_BYTES))
    counter.octets = nftnl_obj_get_u64(object.get(), NFTNL_OBJ_CTR_BYTES);
  if (nftnl_obj_is_set(got, NFTNL_OBJ_HANDLE))
    counter.handle = nftnl_obj_get_u64(object.get(), NFTNL_OBJ_HANDLE);
  if (nftnl_obj_is_set(got, NFTNL_OBJ_NAME))
    counter.name = nftnl_obj_get_str(object.get(), NFTNL_OBJ_NAME);
  return counter;
}

std::optional<std::uint64_t> readNftTableHandle(nlmsghdr const& message) {
  if (message.nlmsg_type != messageType(NFT_MSG_NEWTABLE)) return std::nullopt;
  std::optional<std::uint64_t> handle;
  forEachAttribute(message, sizeof(nfgenmsg), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) != NFTA_TABLE_HANDLE) return;
    if (auto const value = attributeValue<std::uint64_t>(attribute)) handle = be64toh(*value);
  });
  return handle;
}

std::optional<std::uint16_t> readNftGeneration(nlmsghdr const& message) {
  auto const header = fixedHeader<nfgenmsg>(message);
  return header ? std::optional(ntohs(header->res_id)) : std::nullopt;
}

}  // namespace Hardware::Linux
