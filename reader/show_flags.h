// Flags that several of the commands have that show counters.
#pragma once

#include "reader/options.h"
#include "reader/show_command.h"

namespace Show {

inline constexpr ShowCommand::Flag kJsonFlag{"--json", &Options::json,
                                             "Everything, as JSON (see docs/oru-counters.md)"};
inline constexpr ShowCommand::Flag kSinceClearFlag{
    "--since-clear", &Options::sinceClear,
    "Counts since the last clear, and when that was; else as published"};
inline constexpr ShowCommand::Flag kRatesFlag{
    "--rates", &Options::rates,
    "Bits and packets a second, averaged over the agent's load interval,\nand use of the speed"};

}  // namespace Show
