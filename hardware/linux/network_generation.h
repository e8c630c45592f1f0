#pragma once

#include <cstdint>

namespace Hardware::Linux {

/// A number for this network namespace in this run of the machine, for `LinkIdentity`. Two
/// namespaces, or one before and after the machine was started again, have different numbers: a
/// link with the same name and index is another link there.
std::uint64_t networkGeneration();

}  // namespace Hardware::Linux
