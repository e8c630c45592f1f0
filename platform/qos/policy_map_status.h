// Hardware status of policy maps.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/kel/dir.h"
#include "platform/kel/notifier.h"
#include "platform/kel/strep.h"
#include "platform/kel/text.h"

namespace Qos {

// What kind of policy map.
enum class MapType : std::uint32_t { controlPlane = 0, qos = 1, pbr = 2 };
std::ostream& operator<<(std::ostream& out, MapType type);

// Which packets a policy map is for.
enum class Direction : std::uint8_t { input = 0, output = 1 };
std::ostream& operator<<(std::ostream& out, Direction direction);
// "input" or "output". Throws Kel::RangeException for other texts.
Direction directionOf(std::string_view text);

// What a policy map is filed under. Its text, read and written: "copp-system-policy input".
struct PolicyMapHwStatusKey {
  Kel::Name name;
  Direction direction = Direction::input;

  PolicyMapHwStatusKey() = default;
  PolicyMapHwStatusKey(Kel::Name n, Direction d) : name(std::move(n)), direction(d) {}
  // Throws Kel::RangeException where `text` does not end in a direction.
  explicit PolicyMapHwStatusKey(std::string const& text);

  bool operator==(PolicyMapHwStatusKey const&) const = default;
  auto operator<=>(PolicyMapHwStatusKey const&) const = default;
};
std::ostream& operator<<(std::ostream& out, PolicyMapHwStatusKey const& key);

// Whether the hardware has taken something.
enum class PrgmStatus : std::uint8_t { unknown = 0, inProgress = 1, succeeded = 2, failed = 3 };

// Status of one class of a policy map.
struct ClassMapHwStatus {
  PrgmStatus prgmStatus = PrgmStatus::unknown;
  std::uint32_t version = 0;  // of the class's configuration

  bool operator==(ClassMapHwStatus const&) const = default;
};

// Status of one policy map.
class PolicyMapHwStatus : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<PolicyMapHwStatus> {
   public:
    virtual void onType() {}
    virtual void onPrgmStatus() {}
    virtual void onPrgmStatusErrMessage() {}
    virtual void onVersion() {}
    virtual void onCmap(Kel::Name) {}
    virtual void onCmapkelImmediate() {}
    virtual void onCmap() {}
  };
  class Notifiee : public NotifieeConst {};
  using Map = Kel::RbTreeMap<ClassMapHwStatus, Kel::Name>;

  explicit PolicyMapHwStatus(MapType type = MapType::controlPlane) : _type(type) {}

  MapType type() const { return _type; }
  void typeIs(MapType type) { assign(_type, type, &NotifieeConst::onType); }
  PrgmStatus prgmStatus() const { return _prgmStatus; }
  void prgmStatusIs(PrgmStatus status) {
    assign(_prgmStatus, status, &NotifieeConst::onPrgmStatus);
  }
  Kel::String const& prgmStatusErrMessage() const { return _prgmStatusErrMessage; }
  void prgmStatusErrMessageIs(Kel::String const& message) {
    assign(_prgmStatusErrMessage, message, &NotifieeConst::onPrgmStatusErrMessage);
  }
  std::uint32_t version() const { return _version; }
  void versionIs(std::uint32_t version) { assign(_version, version, &NotifieeConst::onVersion); }

  // The classes, by name.
  Map const& cmap() const { return _cmap; }
  void cmapIs(Kel::Name const& name, ClassMapHwStatus const& status);
  void cmapDel(Kel::Name const& name);
  void cmapDelAll();

 private:
  MapType _type;
  PrgmStatus _prgmStatus = PrgmStatus::unknown;
  Kel::String _prgmStatusErrMessage;
  std::uint32_t _version = 0;
  Map _cmap;
};

// Status of all policy maps of one type.
class PolicyMapTypeHwStatus : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<PolicyMapTypeHwStatus> {
   public:
    virtual void onPmap(PolicyMapHwStatusKey const&) {}
    virtual void onPmapkelImmediate() {}
    virtual void onPmap() {}
  };
  class Notifiee : public NotifieeConst {};
  using Map = Kel::RbTreeMap<Kel::Ptr<PolicyMapHwStatus>, PolicyMapHwStatusKey>;

  explicit PolicyMapTypeHwStatus(MapType type) : _type(type) {}
  MapType type() const { return _type; }

  // The policy maps, by name and direction.
  Map const& pmap() const { return _pmap; }
  void pmapIs(PolicyMapHwStatusKey const& key, Kel::Ptr<PolicyMapHwStatus> const& status);
  void pmapDel(PolicyMapHwStatusKey const& key);
  void pmapDelAll();

 private:
  MapType const _type;
  Map _pmap;
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

// Tools read and write it as a word.
template <>
struct Kel::Strep<Qos::Direction> {
  static std::string to(Qos::Direction direction);
  static Qos::Direction from(std::string_view text) { return Qos::directionOf(text); }
};
