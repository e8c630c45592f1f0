#include "agent/link_sync.h"

#include "agent/log.h"

namespace Agent {

using Hardware::Linux::Link;
using Hardware::Linux::LinkEvent;

Interface::IntfDescription description(Pekt::IntfId const& intfId, Link const& link) {
  Interface::IntfDescription description;
  description.intfId = intfId;
  description.kernelName = std::string_view(link.name);
  description.alias = std::string_view(link.alias);
  description.speed = link.speed.value_or(0);
  description.ifIndex = static_cast<std::uint32_t>(link.ifindex);
  description.adminState = link.adminUp ? Interface::AdminState::up : Interface::AdminState::down;
  description.operState = link.operState;
  description.txQueues = link.txQueues;
  return description;
}

LinkSync::LinkSync(LinkNames const& names, Interfaces& interfaces, PortLinks& ports)
    : _names(names), _interfaces(interfaces), _ports(ports) {}

void LinkSync::handle(LinkEvent const& event) {
  if (event.type != LinkEvent::Type::vanished) {
    update(event.link);
    return;
  }
  auto const at = _links.find(event.link.ifindex);
  if (at == _links.end()) return;
  Known gone = std::move(at->second);
  _links.erase(at);  // so that it does not wait for what it leaves
  drop(gone);
}

void LinkSync::update(Link const& link) {
  auto const [at, isNew] = _links.try_emplace(link.ifindex, Known{link, {}, {}});
  Known& known = at->second;
  known.isNew = isNew && _listed;
  bool const renamed = known.link.name != link.name;
  known.link = link;
  auto const wanted = _names.of(link.name, link.ifindex, link.vlanId);
  if (known.servedAs && known.servedAs != wanted.intfId) drop(known);
  if (wanted.intfId) {
    auto const other = _servedBy.find(*wanted.intfId);
    if (other == _servedBy.end() || other->second == link.ifindex)
      serve(known, wanted);
    else if (isNew || renamed)
      say("link " + link.name + " is not counted while link " + _links.at(other->second).link.name +
          " is " + std::string(wanted.intfId->view()));
  } else if (wanted.nameIsGivenAway && (isNew || renamed)) {
    say("link " + link.name + " is not counted: the configuration gives Ethernet" +
        std::to_string(link.ifindex) + " to another link; give this one a name too");
  }
  known.isNew = false;
}

void LinkSync::serve(Known& known, LinkNames::Answer const& wanted) {
  if (known.servedAs) {
    _ports.linkIs(*known.servedAs, known.link);
    _interfaces.interfaceIs(description(*known.servedAs, known.link));
  } else if (begin(known, wanted)) {
    known.servedAs = known.lastServedAs = wanted.intfId;
    _servedBy[*wanted.intfId] = known.link.ifindex;
  }
}

// An agent that is killed between any two of these steps leaves rows that its successor knows to
// be this link's, or offsets without a row or a row without offsets, of which it takes neither.
bool LinkSync::begin(Known const& known, LinkNames::Answer const& wanted) {
  Link const& link = known.link;
  Pekt::IntfId const& intfId = *wanted.intfId;
  auto const rows = _ports.rowsOf(intfId, link);
  bool const isSame = rows == PortLinks::RowsOf::thisLink;
  bool const isKept =
      isSame || (rows == PortLinks::RowsOf::another && wanted.isNamed && _interfaces.keeps());
  bool const moves = isSame ? known.lastServedAs && known.lastServedAs != intfId : !known.isNew;
  // Should it not be told what the link counted before it moved: better a new total than a wrong
  // one.
  bool const anew = !isKept || (moves && !_ports.moveTo(intfId, link));
  if (anew) {
    _ports.forget(intfId);
    _interfaces.dropRows(intfId);
  } else if (!isSame || moves) {
    _interfaces.restartRates(intfId);
  }
  if (!_ports.reserve(intfId, link)) {
    _interfaces.hasNoRoom(intfId, "there is no room for its offsets");
    return false;
  }
  _ports.linkIs(intfId, link);
  if (_interfaces.interfaceIs(description(intfId, link))) return true;
  _ports.linkDel(intfId);
  if (anew) _ports.forget(intfId);
  return false;
}

void LinkSync::drop(Known& known) {
  if (!known.servedAs) return;
  Pekt::IntfId const intfId = *known.servedAs;
  known.servedAs.reset();
  _servedBy.erase(intfId);
  _interfaces.interfaceDel(intfId);
  _ports.linkDel(intfId);
  serveWaiting(intfId);
}

void LinkSync::serveWaiting(Pekt::IntfId const& intfId) {
  for (auto& [ifindex, known] : _links) {
    auto const wanted = _names.of(known.link.name, ifindex, known.link.vlanId);
    if (known.servedAs || wanted.intfId != intfId) continue;
    serve(known, wanted);
    if (known.servedAs) return;
  }
}

void LinkSync::serveRefused() {
  for (auto& [ifindex, known] : _links) {
    auto const wanted = _names.of(known.link.name, ifindex, known.link.vlanId);
    if (!known.servedAs && wanted.intfId && !_servedBy.contains(*wanted.intfId))
      serve(known, wanted);
  }
}

}  // namespace Agent
