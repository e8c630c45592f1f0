#include "platform/kel/notifier.h"

#include <atomic>
#include <exception>
#include <string>

#include "platform/kel/strep.h"
#include "platform/kel/trace.h"

namespace Kel {
namespace {

std::atomic<std::uint64_t> exceptions = 0;

std::string currentExceptionText() {
  try {
    throw;
  } catch (std::exception const& e) {
    return e.what();
  } catch (...) {
    return "an exception of unknown type";
  }
}

}  // namespace

std::uint64_t notificationExceptions() { return exceptions; }

PtrInterface::NotifieeConst::~NotifieeConst() { NotifieeConst::isRegisteredNotifieeIs(false); }

void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) const {
  if (!_notifier) return;
  auto* self = const_cast<NotifieeConst*>(this);
  if (registered)
    _notifier->_notifiees.add(self);
  else
    _notifier->_notifiees.remove(self);
}

void PtrInterface::NotifieeConst::notifierIs(Ptr<PtrInterface const> const& notifier) {
  NotifieeConst::isRegisteredNotifieeIs(false);
  _notifier = Ptr<Notifier const>(dynamic_cast<Notifier const*>(notifier.get()));
}

void PtrInterface::NotifieeConst::onNotificationException() {
  ++exceptions;
  if (auto t = Trace(frameworkTraceHandle(), 1, std::source_location::current()))
    t << "exception from " << typeText(*this) << ": " << currentExceptionText();
}

void NotifieeList::add(PtrInterface::NotifieeConst* notifiee) {
  if (notifiee->_place != notifiee->kNowhere) return;
  _notifiees.push_back(notifiee);
  notifiee->_place = _notifiees.size() - 1;
}

void NotifieeList::remove(PtrInterface::NotifieeConst* notifiee) {
  if (notifiee->_place == notifiee->kNowhere) return;
  _notifiees[notifiee->_place] = nullptr;
  notifiee->_place = notifiee->kNowhere;
  ++_holes;
  closeHoles();
}

void NotifieeList::closeHoles() {
  if (_deliveries != 0 || _holes == 0 || 2 * _holes < _notifiees.size()) return;
  std::erase(_notifiees, nullptr);
  for (std::size_t i = 0; i < _notifiees.size(); ++i) _notifiees[i]->_place = i;
  _holes = 0;
}

}  // namespace Kel
