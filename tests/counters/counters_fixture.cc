#include "tests/counters/counters_fixture.h"

namespace Support {

void RecordingHelper::getCounters(Pekt::IntfId id, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                                  Kel::Ptr<OruTypes::IntfCounters> prevCounters) {
  _log("getCounters", id);
  prevInOctets = prevCounters->intfStats().inOctets;
  newCounters->intfStatsIs(sample->intfStats());
  newCounters->ethStatsIs(sample->ethStats());
  run(duringGetCounters);
}

void RecordingHelper::getVlanIntfCounters(Pekt::IntfId id,
                                          Kel::Ptr<OruTypes::VlanIntfCounters> newCounters,
                                          Kel::Ptr<OruTypes::VlanIntfCounters> prevCounters) {
  _log("getVlanIntfCounters", id);
  prevInOctets = prevCounters->intfStats().inOctets;
  newCounters->intfStatsIs(vlanSample);
  run(duringGetVlanIntfCounters);
}

void RecordingHelper::completeSample() {
  sample->intfStats().inErrors = receiveErrorSum(sample->ethStats());
  sample->intfStats().outErrors = transmitErrorSum(sample->ethStats());
}

CountersFixture::CountersFixture() { cliCounterConfig->periodPollIs(5.0); }

void CountersFixture::withQueuesAndDrops() {
  allIntfQueueCounters = tables.table<RecordingQueueTable>("queues", log, "intfQueueCounter");
  allIntfClearQueueCounters =
      tables.table<RecordingQueueTable>("clearQueues", log, "intfQueueCounter");
  intfAclDropCountersDir = tables.table<RecordingDropTable>("drops", log, "counter");
  helper->aclDropsSupported = true;
}

void CountersFixture::make() {
  sut = Oru::Counters::countersSmFactory(
      ocsd, configDir, statusDir, cliCounterConfig, helper, globalIntfConfig, cliConfig,
      qosSliceHwStatus, qosSliceHwStatusDir, qosAclSliceHwStatus, qosAclSliceHwStatusDir,
      vlanIntfConfigDir, vlanIntfStatusDir, intfAclDropCountersDir, allIntfQueueCounters,
      allIntfClearQueueCounters, allIntfCounters, allIntfClearCounters);
  sut->writerConfigIs(writerConfig);
  sut->ethIntfCounterWriterStatusIs(writerStatus);
  sut->aclDropConfigIs(aclDropConfig);
  sut->counterPollPeriodIs(5.0);
}

void CountersFixture::makeInitialized() {
  make();
  sut->initializedIs(true);
}

void CountersFixture::addConfig(Pekt::IntfId const& id) {
  configDir->intfConfigIs(id, Kel::make<Interface::EthPhyIntfConfig>());
}
void CountersFixture::addStatus(Pekt::IntfId const& id) {
  statusDir->intfStatusIs(id, Kel::make<Interface::EthPhyIntfStatus>());
}
void CountersFixture::addIntf(Pekt::IntfId const& id) {
  addConfig(id);
  addStatus(id);
  ocsd->intfIs(id, true);
}

}  // namespace Support
