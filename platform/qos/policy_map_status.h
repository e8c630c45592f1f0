// Hardware status of policy maps.
#pragma once

#include <cstdint>
#include <ostream>

#include "platform/kel/dir.h"
#include "platform/kel/notifier.h"
#include "platform/kel/text.h"

namespace Qos {

// What kind of policy map.
enum class MapType : std::uint32_t { controlPlane = 0, qos = 1, pbr = 2 };
std::ostream& operator<<(std::ostream& out, MapType type);

// Status of all policy maps of one type.
class PolicyMapTypeHwStatus : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<PolicyMapTypeHwStatus> {};
  class Notifiee : public NotifieeConst {};

  explicit PolicyMapTypeHwStatus(MapType type) : _type(type) {}
  MapType type() const { return _type; }

 private:
  MapType const _type;
};

// Status of the policy maps of one slice, by type.
class PolicyMapTypes : public Kel::Entity {
 public:
  class NotifieeConst : public Kel::NotifieeOn<PolicyMapTypes> {
   public:
    virtual void onPmapType(MapType) {}
    virtual void onPmapTypekelImmediate() {}
    virtual void onPmapType() {}
  };
  class Notifiee : public NotifieeConst {};
  using Map = Kel::RbTreeMap<Kel::Ptr<PolicyMapTypeHwStatus>, MapType>;

  Map const& pmapType() const { return _pmapType; }
  void pmapTypeIs(Kel::Ptr<PolicyMapTypeHwStatus> const& status);
  void pmapTypeDel(MapType type);
  void pmapTypeDelAll();

 protected:
  using Entity::Entity;

 private:
  Map _pmapType;
};

// Static policy maps.
class SliceHwStatus : public PolicyMapTypes {
 public:
  explicit SliceHwStatus(Kel::Name name = {}) : PolicyMapTypes(std::move(name)) {}
};
// Dynamic policy maps.
class AclSliceHwStatus : public PolicyMapTypes {
 public:
  explicit AclSliceHwStatus(Kel::Name name = {}) : PolicyMapTypes(std::move(name)) {}
};

}  // namespace Qos
