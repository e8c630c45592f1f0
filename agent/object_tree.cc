#include "agent/object_tree.h"

#include <algorithm>
#include <optional>

#include "agent/control_request.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/type_node.h"

namespace Agent {
namespace {

using Kel::AttributeKind;
using Object = Kel::Ptr<Kel::PtrInterface>;
using Place = ObjectTree::Place;

std::string listed(std::vector<std::string> const& names) {
  std::string list;
  for (std::string const& each : names) list += (list.empty() ? "" : ", ") + each;
  return list.empty() ? "none" : list;
}

std::vector<std::string> collectionsOf(Kel::PtrInterface const& object) {
  std::vector<std::string> names;
  for (Kel::Attribute const& attribute : object.fwkType()->attributes())
    if (attribute.kind == AttributeKind::collection) names.emplace_back(attribute.name);
  return names;
}

Object member(Kel::PtrInterface const& object, std::string_view collection,
              std::string const& key) {
  try {
    return Kel::iterObj(object, collection, key);
  } catch (Kel::RangeException const&) {
    return nullptr;  // not even a key
  }
}

class Walk {
 public:
  // The place that is at `rest` from the object. Where there is none, why() tells how far it got.
  std::optional<Place> from(Object const& object, std::string const& rest) {
    auto const slash = rest.find('/');
    std::string const collection = rest.substr(0, slash);
    auto const known = collectionsOf(*object);
    if (std::find(known.begin(), known.end(), collection) == known.end()) {
      // Of an object without any, what follows it was rather meant as a part of its key.
      if (!known.empty())
        note("there is no collection " + collection + "; there are: " + listed(known), rest.size());
      return std::nullopt;
    }
    if (slash == std::string::npos) return Place{object, collection};
    std::string const keys = rest.substr(slash + 1);
    for (auto end = keys.size(); end != std::string::npos && end != 0;
         end = keys.rfind('/', end - 1)) {
      Object const found = member(*object, collection, keys.substr(0, end));
      if (!found || !found->fwkType()) continue;
      if (end == keys.size()) return Place{found, {}};
      if (auto const place = from(found, keys.substr(end + 1))) return place;
    }
    note(collection + " has no key " + keys, keys.size());
    return std::nullopt;
  }
  std::string const& why() const { return _why; }

 private:
  // The objection that was met furthest along the path counts.
  void note(std::string const& why, std::size_t left) {
    if (left >= _left) return;
    _left = left;
    _why = why;
  }
  std::string _why;
  std::size_t _left = std::string::npos;
};

}  // namespace

std::vector<std::string> ObjectTree::roots() const {
  std::vector<std::string> names;
  for (auto const& [name, object] : _roots) names.push_back(name);
  return names;
}

Place ObjectTree::find(std::string const& path) const {
  if (path.size() > kMaxPath)
    throw ControlError(ControlCode::tooLong,
                       "a path has at most " + std::to_string(kMaxPath) + " bytes");
  if (std::count(path.begin(), path.end(), '/') > kMaxSlashes)
    throw ControlError(ControlCode::tooLong,
                       "a path has at most " + std::to_string(kMaxSlashes) + " slashes");
  auto const slash = path.find('/');
  auto const root = _roots.find(path.substr(0, slash));
  if (root == _roots.end())
    throw ControlError(ControlCode::unknownPath, "there is nothing called " +
                                                     path.substr(0, slash) +
                                                     "; paths begin with: " + listed(roots()));
  if (slash == std::string::npos) return {root->second, {}};
  Walk walk;
  if (auto const place = walk.from(root->second, path.substr(slash + 1))) return *place;
  throw ControlError(ControlCode::unknownPath,
                     "there is no " + path + ": " + walk.why() +
                         "; ls of what comes before it lists what there is");
}

Kel::Ptr<Kel::PtrInterface> ObjectTree::object(std::string const& path) const {
  Place const place = find(path);
  if (!place.collection.empty())
    throw ControlError(ControlCode::unknownPath,
                       path + " is a collection; name one of its members: " + path + "/KEY");
  return place.object;
}

}  // namespace Agent
