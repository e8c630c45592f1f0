// Numbers and traces of an exploration, for people: ORU_MODEL_REPORT=1 in the environment prints
// them.
#pragma once

#include <cstddef>
#include <string>

namespace GlimModel {

void report(std::size_t runs, std::size_t states);
void report(std::string const& trace);

}  // namespace GlimModel
