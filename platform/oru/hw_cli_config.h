// Requests from the command line to the hardware.
#pragma once

#include "platform/kel/notifier.h"
#include "platform/kel/text.h"

namespace Oru {

class HwCliConfig : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<HwCliConfig> {
   public:
    virtual void onClearCountersRequest(Kel::String) {}
    virtual void onClearCountersRequestkelImmediate() {}
    virtual void onClearCountersRequest() {}
  };
  class Notifiee : public NotifieeConst {};

  // "all" or the name of one interface. Every write is a request and is told, the same text again
  // included.
  Kel::String const& clearCountersRequest() const { return _clearCountersRequest; }
  void clearCountersRequestIs(Kel::String const& request) {
    _clearCountersRequest = request;
    notify<NotifieeConst, Kel::String>(&NotifieeConst::onClearCountersRequest, request);
  }

 private:
  Kel::String _clearCountersRequest;
};

}  // namespace Oru
