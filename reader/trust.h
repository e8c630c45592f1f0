// Whose tables are shown.
#pragma once

#include <sys/types.h>

#include <string>

#include "platform/glim/table_file.h"

namespace Show {

// Anybody may make the usual directory first, while no agent runs; so of one that the user did not
// name, only tables of the superuser or of this user.
enum class Trust { ownTables, directoryOwner };

// Whom the reader must expect as the owner of the file that has this path now. The reader checks it
// on the file that it opens: one that takes the name in between is refused, and no more.
Glim::ReaderOptions readerOptions(Trust trust, std::string const& file);

// "alice (user 1000)" where the file is a regular one of somebody who is neither this user nor the
// superuser; else empty.
std::string strangerOf(std::string const& file);

}  // namespace Show
