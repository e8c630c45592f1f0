// The list of the commands `show X`, in the order in which the help has them.
#pragma once

#include <array>

#include "reader/show_command.h"

namespace Show {

// Each in the source of its name: show_interfaces.cc and so on.
extern ShowCommand const kShowInterfaces, kShowQueues, kShowDrops, kShowVlanInterfaces, kShowVlans,
    kShowCopp;

inline constexpr std::array kShowCommands{&kShowInterfaces,     &kShowQueues, &kShowDrops,
                                          &kShowVlanInterfaces, &kShowVlans,  &kShowCopp};

}  // namespace Show
