#include "platform/glim/glim_base.h"

#include "platform/dov/exception.h"

namespace Glim {

using Dov::NoPermissionException;
using Dov::UnimplementedException;

GlimBaseCommon::~GlimBaseCommon() = default;

ReaderCounters GlimBaseCommon::readerCounters() const {
  UnimplementedException::throwException("readerCounters() not implemented");
}
WriterCounters GlimBaseCommon::writerCounters() const {
  UnimplementedException::throwException("writerCounters() not implemented");
}
std::uint64_t GlimBaseCommon::getCacheVersionAnchor() const {
  UnimplementedException::throwException("getCacheVersionAnchor() not implemented");
}
bool GlimBaseCommon::validateVersionAnchor() const {
  UnimplementedException::throwException("validateVersionAnchor() not implemented");
}
void GlimBaseCommon::clientQuiesced(std::string_view) {
  UnimplementedException::throwException("clientQuiesced() not implemented");
}

void GlimBaseCommon::directCommit() { refuseWrite(); }
void GlimBaseCommon::cleanup() {
  NoPermissionException::throwException("cleanup to read-only Glim table");
}
bool GlimBaseCommon::validateFiles() const {
  NoPermissionException::throwException("validateFiles to read-only Glim table");
}
bool GlimBaseCommon::validate() const {
  NoPermissionException::throwException("validate to read-only Glim table");
}

void GlimBaseCommon::refuseWrite() {
  NoPermissionException::throwException("write to read-only Glim table");
}
void GlimBaseCommon::refuseRemove() {
  NoPermissionException::throwException("remove to read-only Glim table");
}

}  // namespace Glim
