// The tables of keys of the PTP daemon's documents. Spellings are those of IEEE 1588 but for "gm", whose keys begin
// with capitals.
#include "mxs/PtpDocuments.h"

#include "mxs/DocumentFields.h"

namespace mxs
{

namespace
{

using namespace fields;
using namespace ptp;

constexpr Field<DefaultConfig> kDefaultConfig[] = {
    Number<&DefaultConfig::clockClass>("clockClass"),
    Number<&DefaultConfig::clockAccuracy>("clockAccuracy"),
    Number<&DefaultConfig::offsetScaledLogVariance>("offsetScaledLogVariance"),
    Flag<&DefaultConfig::twoStepFlag>("twoStepFlag"),
    Number<&DefaultConfig::domainNumber>("domainNumber"),
    Flag<&DefaultConfig::slaveOnly>("slaveOnly"),
    Number<&DefaultConfig::priority1>("priority1"),
    Number<&DefaultConfig::priority2>("priority2"),
};
constexpr Field<PortConfig> kPortConfig[] = {
    Number<&PortConfig::logMinDelayReqInterval>("logMinDelayReqInterval"),
    Number<&PortConfig::logAnnounceInterval>("logAnnounceInterval"),
    Number<&PortConfig::announceReceiptTimeout>("announceReceiptTimeout"),
    Number<&PortConfig::logSyncInterval>("logSyncInterval"),
    Enum<&PortConfig::delayMechanism, kDelayMechanisms>("delayMechanism"),
    Number<&PortConfig::logMinPdelayReqInterval>("logMinPdelayReqInterval"),
    Number<&PortConfig::versionNumber>("versionNumber"),
};
constexpr Field<Config> kConfig[] = {
    Text<&Config::interfaceName>("InterfaceName"),
    Flag<&Config::hybridMode>("hybridMode"),
    Enum<&Config::timeStamping, kTimeStampings>("TimeStamping", Need::Optional),
    Nested<&Config::own, kDefaultConfig>("DefaultDS"),
    Nested<&Config::port, kPortConfig>("PortDS"),
};

constexpr Field<ClockIdentity> kClockIdentity[] = {Number<&ClockIdentity::number>("64bData")};
constexpr Field<PortIdentity> kPortIdentity[] = {
    Nested<&PortIdentity::clock, kClockIdentity>("clockIdentity"),
    Number<&PortIdentity::port>("portNumber"),
};
constexpr Field<GrandmasterQuality> kGrandmasterQuality[] = {
    Number<&GrandmasterQuality::clockClass>("ClockClass"),
    Number<&GrandmasterQuality::clockAccuracy>("ClockAccuracy"),
    Number<&GrandmasterQuality::offsetScaledLogVariance>("OffsetScaledLogVariance"),
};
constexpr Field<ParentStatus> kParent[] = {
    Nested<&ParentStatus::port, kPortIdentity>("parentPortIdentity"),
    Flag<&ParentStatus::stats>("parentStats"),
    Number<&ParentStatus::observedOffsetScaledLogVariance>("observedParentOffsetScaledLogVariance"),
    Number<&ParentStatus::observedClockPhaseChangeRate>("observedParentClockPhaseChangeRate"),
    Nested<&ParentStatus::grandmaster, kClockIdentity>("grandmasterIdentity"),
    Nested<&ParentStatus::quality, kGrandmasterQuality>("gm"),
    Number<&ParentStatus::grandmasterPriority1>("grandmasterPriority1"),
    Number<&ParentStatus::grandmasterPriority2>("grandmasterPriority2"),
};
constexpr Field<CurrentStatus> kCurrent[] = {
    Number<&CurrentStatus::stepsRemoved>("stepsRemoved"),
    Number<&CurrentStatus::offsetFromMaster>("offsetFromMaster"),
    Number<&CurrentStatus::meanPathDelay>("meanPathDelay"),
};
constexpr Field<PortStatus> kPort[] = {
    Number<&PortStatus::logMinDelayReqInterval>("logMinDelayReqInterval"),
    Number<&PortStatus::peerMeanPathDelay>("peerMeanPathDelay"),
    Number<&PortStatus::logAnnounceInterval>("logAnnounceInterval"),
    Number<&PortStatus::announceReceiptTimeout>("announceReceiptTimeout"),
    Number<&PortStatus::logSyncInterval>("logSyncInterval"),
    Enum<&PortStatus::delayMechanism, kDelayMechanisms>("delayMechanism"),
    Number<&PortStatus::logMinPdelayReqInterval>("logMinPdelayReqInterval"),
    Number<&PortStatus::versionNumber>("versionNumber"),
    Nested<&PortStatus::identity, kPortIdentity>("portIdentity"),
    Enum<&PortStatus::state, kPortStates>("portState"),
};
constexpr Field<DefaultStatus> kDefault[] = {
    Number<&DefaultStatus::numberPorts>("numberPorts"),
    Number<&DefaultStatus::clockClass>("clockClass"),
    Number<&DefaultStatus::clockAccuracy>("clockAccuracy"),
    Number<&DefaultStatus::offsetScaledLogVariance>("offsetScaledLogVariance"),
    Flag<&DefaultStatus::twoStepFlag>("twoStepFlag"),
    Number<&DefaultStatus::domainNumber>("domainNumber"),
    Flag<&DefaultStatus::slaveOnly>("slaveOnly"),
    Number<&DefaultStatus::priority1>("priority1"),
    Number<&DefaultStatus::priority2>("priority2"),
    Nested<&DefaultStatus::clock, kClockIdentity>("clockIdentity"),
};
constexpr Field<TimeProperties> kTimeProperties[] = {
    Number<&TimeProperties::currentUtcOffset>("currentUtcOffset"),
    Flag<&TimeProperties::currentUtcOffsetValid>("currentUtcOffsetValid"),
    Flag<&TimeProperties::leap59>("leap59"),
    Flag<&TimeProperties::leap61>("leap61"),
    Flag<&TimeProperties::timeTraceable>("timeTraceable"),
    Flag<&TimeProperties::frequencyTraceable>("frequencyTraceable"),
    Flag<&TimeProperties::ptpTimescale>("ptpTimescale"),
    Number<&TimeProperties::timeSource>("timeSource"),
};
constexpr Field<Status> kStatus[] = {
    Nested<&Status::parent, kParent>("ParentDS"),
    Nested<&Status::current, kCurrent>("CurrentDS"),
    Nested<&Status::port, kPort>("PortDS"),
    Nested<&Status::own, kDefault>("DefaultDS"),
    Nested<&Status::time, kTimeProperties>("TimePropertiesDS"),
};

} // namespace

Json ToDocument(const Config& record)
{
    return WriteFields(kConfig, record);
}

Json ToDocument(const PtpReport& record)
{
    Json document = WriteFields(kStatus, record.status);
    document["CurrentSystemTime"] = record.taiNs;
    document["Clock"] = {{"Source", record.clock.followsPtp ? "PTP" : "SYSTEM"},
                         {"Locked", record.clock.locked},
                         {"OffsetFromMaster", record.clock.offsetFromMasterNs}};
    return document;
}

void FromDocument(const Json& document, Config& record)
{
    ReadFields(kConfig, document, record, "");
}

} // namespace mxs
