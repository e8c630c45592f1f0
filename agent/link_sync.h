// Keeps the agent's interfaces in step with the links of the machine. Logic alone: links come as
// events, from whatever tells them.
#pragma once

#include <map>

#include "agent/interfaces.h"
#include "agent/link_names.h"
#include "hardware/linux/link.h"
#include "hardware/linux/rows_of.h"

namespace Agent {

// The chip, as far as it must know which link a port is.
class PortLinks {
 public:
  using Link = Hardware::Linux::Link;
  using RowsOf = Hardware::Linux::RowsOf;

  virtual ~PortLinks() = default;
  // Which link the interface's rows are of, as they stand.
  virtual RowsOf rowsOf(Pekt::IntfId const& intfId, Link const& link) = 0;
  // Makes room for what the chip keeps of the port beside the rows. False: there is none.
  virtual bool reserve(Pekt::IntfId const& intfId, Link const& link) = 0;
  // The interface's rows go on with this link, but what it counted so far is not theirs. False:
  // that could not be arranged.
  virtual bool moveTo(Pekt::IntfId const& intfId, Link const& link) = 0;
  // Drops that; the rows, which mean nothing without it, are dropped next.
  virtual void forget(Pekt::IntfId const& intfId) = 0;
  virtual void linkIs(Pekt::IntfId const& intfId, Link const& link) = 0;
  virtual void linkDel(Pekt::IntfId const& intfId) = 0;
};

// A link is an interface for as long as it keeps the name by which the configuration chose it, or
// for its whole life if nothing chose it by name: a rename then changes what the interface is
// called on this machine, and nothing else. The chip learns of a link before the interface is
// there, and loses it after.
//
// Rows that are there when a link becomes an interface are continued when they are of this very
// link: then an agent before counted it. Rows of anything else are dropped and the interface begins
// anew, except where counters are kept and the interface has its name from the configuration or is
// a VLAN's: its totals then go on with another link. What that link had counted when it took the
// rows over is not added: it may have been in them before, or have been another interface. Only of
// a link that is new, which it is if it appeared after the agent began and is that interface at
// once, all that it counted is added.
//
// Of two links that are to be the same interface, the first has it, and the other gets it when the
// first is gone; that a link is not counted for such a reason is told to the operator.
class LinkSync {
 public:
  // What it is given by reference must outlive it.
  LinkSync(LinkNames const& names, Interfaces& interfaces, PortLinks& ports);

  void handle(Hardware::Linux::LinkEvent const& event);

  // All links that were there when the agent began have been told.
  void listed() { _listed = true; }

  // Tries the links again for which there was no room.
  void serveRefused();

 private:
  using Link = Hardware::Linux::Link;
  struct Known {
    Link link;
    std::optional<Pekt::IntfId> servedAs;
    std::optional<Pekt::IntfId> lastServedAs;
    bool isNew = false;
  };

  void update(Link const& link);
  void serve(Known& known, LinkNames::Answer const& wanted);
  bool begin(Known const& known, LinkNames::Answer const& wanted);
  void drop(Known& known);
  void serveWaiting(Pekt::IntfId const& intfId);

  LinkNames const& _names;
  Interfaces& _interfaces;
  PortLinks& _ports;
  std::map<int, Known> _links;  // by ifindex
  std::map<Pekt::IntfId, int> _servedBy;
  bool _listed = false;
};

Interface::IntfDescription description(Pekt::IntfId const& intfId,
                                       Hardware::Linux::Link const& link);

}  // namespace Agent
