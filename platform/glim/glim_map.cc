#include "platform/glim/glim_map.h"

namespace Glim {

namespace {

constexpr std::string_view source = "Glim/GlimMap";

}  // namespace

std::string GlimMapMessages::sayCorruption(std::string_view reason) const {
  std::string text = "GlimMap::corruptionDetected() " + _root.glimName() + " ";
  text.append(reason);
  _root.debugHandler().write(1, source, "corruptionDetected", text);
  return text;
}

void GlimMapMessages::sayDetach() const {
  if (!_root.debugHandler().enabled(1)) return;
  _root.debugHandler().write(1, source, "detach", "GlimMap::detach() " + _root.path());
}

void GlimMapMessages::sayReady(bool ready, bool notifying) const {
  if (!_root.debugHandler().enabled(5)) return;
  std::string text = "GlimMap::collectionReadyIs() ready:";
  text.append(ready ? "1" : "0").append(" notifying:").append(notifying ? "1" : "0");
  _root.debugHandler().write(5, source, "collectionReadyIs", text);
}

void GlimMapMessages::throwNoMansLand() const {
  Dov::debugAndThrowAssertException(_root.debugHandler(), "GlimMap::directWrite() in no man's land",
                                    source, "directWrite");
}

}  // namespace Glim
