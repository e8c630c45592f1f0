#include "platform/glim/header_copy.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace Glim {

namespace {

// How many bytes could be read, or -1.
ssize_t readAt(int fd, void* to, std::size_t bytes, std::size_t offset) {
  ssize_t n;
  do {
    n = ::pread(fd, to, bytes, static_cast<off_t>(offset));
  } while (n < 0 && errno == EINTR);
  return n;
}

Word backedBytesOf(struct stat const& status) {
  constexpr Word blockBytes = 512;  // of st_blocks, whatever the file system's own are
  return std::min(static_cast<Word>(status.st_size),
                  static_cast<Word>(status.st_blocks) * blockBytes);
}

}  // namespace

Word backedBytes(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 ? backedBytesOf(status) : 0;
}

Answer readHeader(int fd, HeaderCopy& header) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return Answer::unreadable;
  header.fileBytes = static_cast<Word>(status.st_size);
  header.backedBytes = backedBytesOf(status);

  ssize_t const n = readAt(fd, header.fixed.data(), sizeof header.fixed, 0);
  if (n < 0) return Answer::unreadable;
  if (n != sizeof header.fixed) return Answer::notATable;
  switch (Layout::checkFixedWords(header.fixed, header.geometry)) {
    case Layout::HeaderCheck::good:
      break;
    case Layout::HeaderCheck::notATable:
      return Answer::notATable;
    case Layout::HeaderCheck::otherLayout:
      return Answer::otherLayout;
  }

  header.schema.resize(header.geometry.schemaBytes);
  ssize_t const m = readAt(fd, header.schema.data(), header.schema.size(), Layout::schemaOffset);
  if (m < 0) return Answer::unreadable;
  if (static_cast<std::size_t>(m) != header.schema.size()) return Answer::notATable;
  if (!Layout::checksumAgrees(header.fixed, header.schema)) return Answer::notATable;
  return header.fileBytes < header.geometry.slotsOffset ? Answer::truncated : Answer::ok;
}

}  // namespace Glim
