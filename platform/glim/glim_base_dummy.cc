#include "platform/glim/glim_base_dummy.h"

namespace Glim {

void sayDummyCall(RootPath const& root, std::string_view function) {
  constexpr unsigned level = 5;
  auto& handler = root.debugHandler();
  if (!handler.enabled(level)) return;
  std::string text = "GlimBaseDummy::";
  text.append(function).append("() ").append(root.glimName());
  handler.write(level, "Glim/GlimBase", function, text);
}

}  // namespace Glim
