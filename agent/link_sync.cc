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
  auto const [at, isNew] = _links.try_emplace(link.ifindex, Known{link, {}});
  Known& known = at->second;
  bool const renamed = known.link.name != link.name;
  known.link = link;
  auto const wanted = _names.of(link.name, link.ifindex);
  if (known.servedAs && known.servedAs != wanted.intfId) drop(known);
  if (wanted.intfId) {
    auto const other = _servedBy.find(*wanted.intfId);
    if (other == _servedBy.end() || other->second == link.ifindex)
      serve(known, *wanted.intfId);
    else if (isNew || renamed)
      say("link " + link.name + " is not counted while link " + _links.at(other->second).link.name +
          " is " + std::string(wanted.intfId->view()));
  } else if (wanted.nameIsGivenAway && (isNew || renamed)) {
    say("link " + link.name + " is not counted: the configuration gives Ethernet" +
        std::to_string(link.ifindex) + " to another link; give this one a name too");
  }
}

void LinkSync::serve(Known& known, Pekt::IntfId const& intfId) {
  _ports.linkIs(intfId, known.link);
  if (_interfaces.interfaceIs(description(intfId, known.link))) {
    known.servedAs = intfId;
    _servedBy[intfId] = known.link.ifindex;
  } else if (!known.servedAs) {
    _ports.linkDel(intfId);
  }
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
    if (known.servedAs || _names.of(known.link.name, ifindex).intfId != intfId) continue;
    serve(known, intfId);
    if (known.servedAs) return;
  }
}

}  // namespace Agent
