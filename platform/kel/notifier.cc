#include "platform/kel/notifier.h"

#include <algorithm>
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
  if (std::find(_notifiees.begin(), _notifiees.end(), notifiee) == _notifiees.end())
    _notifiees.push_back(notifiee);
}

void NotifieeList::remove(PtrInterface::NotifieeConst* notifiee) {
  auto const it = std::find(_notifiees.begin(), _notifiees.end(), notifiee);
  if (it == _notifiees.end()) return;
  if (_deliveries == 0) {
    _notifiees.erase(it);
  } else {
    *it = nullptr;
    _holes = true;
  }
}

std::size_t NotifieeList::size() const {
  return static_cast<std::size_t>(
      std::count_if(_notifiees.begin(), _notifiees.end(), [](auto* n) { return n != nullptr; }));
}

void NotifieeList::closeHoles() {
  std::erase(_notifiees, nullptr);
  _holes = false;
}

}  // namespace Kel
