// The note that a corrupt table leaves beside it, for people: what was found, when, and by which
// process.
#pragma once

#include <string_view>

#include "platform/glim/root_path.h"

namespace Glim::Util {

// Replaces the table's corruption file, if any. That it could not be written is a message at level
// 1, no more: the caller is already in trouble.
void writeCorruptionFile(Dov::Platform::DebugHandler& debugHandler, RootPath const& rootPath,
                         std::string_view reason);

}  // namespace Glim::Util
