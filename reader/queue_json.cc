#include "reader/queue_json.h"

#include <nlohmann/json.hpp>
#include <string>

#include "reader/drop_view.h"
#include "reader/json_pieces.h"
#include "reader/json_view.h"
#include "reader/queue_counters.h"
#include "reader/snapshot.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

Json valuesJson(QueueValues const& values) {
  Json json = Json::object();
  for (std::size_t i = 0; i < values.size(); ++i)
    json[std::string(Interface::kQueueCounterNames[i])] = orNull(values[i]);
  return json;
}

Json queueJson(Queue const& queue, QueueValues const& sinceClear) {
  Json json{{"queue", queue.first}, {"lastQueue", queue.last}, {"type", nullptr}};
  if (!name(queue.type).empty()) json["type"] = name(queue.type);
  json["counters"] = valuesJson(queue.values);
  json["sinceClear"] = valuesJson(sinceClear);
  return json;
}

Json queuesOf(Snapshot const& snapshot, Intf const& intf) {
  Json json = intfJson(snapshot, intf);
  json.update(sampleJson(snapshot, intf));
  json["cleared"] = orNull(cleared(intf));
  bool const known = intf.description && intf.description->txQueues != 0;
  json["txQueues"] = known ? Json(intf.description->txQueues) : Json();
  json["queues"] = nullptr;
  json["allQueues"] = {{"counters", valuesJson(allQueues(intf, Basis::total))},
                       {"sinceClear", valuesJson(allQueues(intf, Basis::sinceClear))}};
  if (!intf.queues) return json;
  auto const total = queues(intf, Basis::total), sinceClear = queues(intf, Basis::sinceClear);
  json["queues"] = Json::array();
  for (std::size_t i = 0; i < total.size(); ++i)
    json["queues"].push_back(queueJson(total[i], sinceClear[i].values));
  return json;
}

Json dropsOf(Snapshot const& snapshot, Intf const& intf) {
  Json json = intfJson(snapshot, intf);
  json["aclDropPkts"] = orNull(aclDropPkts(intf));
  return json;
}

}  // namespace

Json queuesJson(Snapshot const& snapshot) { return arrayOf(snapshot, queuesOf); }
Json dropsJson(Snapshot const& snapshot) { return arrayOf(snapshot, dropsOf); }

}  // namespace Show
