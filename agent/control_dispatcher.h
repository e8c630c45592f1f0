// Carries out the requests of the control socket: reaches objects by what their descriptions
// declare, and nothing else. It has no list of attributes or operations of its own.
#pragma once

#include <string>
#include <string_view>

#include "agent/clearing.h"
#include "agent/control_request.h"
#include "agent/object_tree.h"
#include "agent/vlan_clearing.h"

namespace Agent {

class ControlDispatcher {
 public:
  ControlDispatcher(ObjectTree tree, Clearing clearing, VlanClearing vlanClearing = {})
      : _tree(std::move(tree)),
        _clearing(std::move(clearing)),
        _vlanClearing(std::move(vlanClearing)) {}

  // Whatever the line is, and whatever comes of it, there is an answer: a line of JSON, with its
  // end. A client that may not write changes nothing. REQUIRES: as Clearing and
  // VlanClearing do.
  std::string answer(std::string_view line, bool mayWrite);

 private:
  ObjectTree const _tree;
  Clearing _clearing;
  VlanClearing _vlanClearing;
};

// The line that tells a client why it gets no answer.
std::string controlErrorLine(ControlError const& error);

}  // namespace Agent
