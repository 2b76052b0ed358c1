// What the PTP daemon is told and what it tells, by the data sets of IEEE 1588. Intervals are base-2 logarithms of
// seconds, delays and offsets nanoseconds.
#pragma once

#include <cstdint>
#include <string>

namespace mxs::ptp
{

enum class TimeStamping : uint32_t
{
    Software = 1,
    Hardware = 2
};

enum class DelayMechanism : uint32_t
{
    EndToEnd = 1,
    PeerToPeer = 2
};

enum class PortState : uint32_t
{
    Unknown,
    Initializing,
    Faulty,
    Disabled,
    Listening,
    PreMaster,
    Master,
    Passive,
    Uncalibrated,
    Slave
};

// The values are those of SMPTE ST 2059-2 with the daemon as a slave alone.
struct DefaultConfig
{
    uint8_t clockClass = 255;
    uint8_t clockAccuracy = 254; // unknown
    uint16_t offsetScaledLogVariance = 1000;
    bool twoStepFlag = true;
    uint8_t domainNumber = 127;
    bool slaveOnly = true;
    uint8_t priority1 = 128;
    uint8_t priority2 = 128;

    bool operator==(const DefaultConfig&) const = default;
};

struct PortConfig
{
    int8_t logMinDelayReqInterval = -3;
    int8_t logAnnounceInterval = 1;
    uint8_t announceReceiptTimeout = 3;
    int8_t logSyncInterval = 0;
    DelayMechanism delayMechanism = DelayMechanism::EndToEnd;
    int8_t logMinPdelayReqInterval = -3;
    uint8_t versionNumber = 2;

    bool operator==(const PortConfig&) const = default;
};

struct Config
{
    std::string interfaceName;
    bool hybridMode = false; // delay requests go to the master alone
    TimeStamping timeStamping = TimeStamping::Software;
    DefaultConfig own;
    PortConfig port;

    bool operator==(const Config&) const = default;
};

struct ClockIdentity
{
    uint64_t number = 0; // the first octet is the highest

    bool operator==(const ClockIdentity&) const = default;
};

struct PortIdentity
{
    ClockIdentity clock;
    uint16_t port = 0;

    bool operator==(const PortIdentity&) const = default;
};

struct GrandmasterQuality
{
    uint8_t clockClass = 0;
    uint8_t clockAccuracy = 0;
    uint16_t offsetScaledLogVariance = 0;

    bool operator==(const GrandmasterQuality&) const = default;
};

struct ParentStatus
{
    PortIdentity port;
    bool stats = false;                               // the two below are measured
    uint16_t observedOffsetScaledLogVariance = 65535; // not computed
    int32_t observedClockPhaseChangeRate = INT32_MAX; // not computed
    ClockIdentity grandmaster;
    GrandmasterQuality quality;
    uint8_t grandmasterPriority1 = 0;
    uint8_t grandmasterPriority2 = 0;

    bool operator==(const ParentStatus&) const = default;
};

struct CurrentStatus
{
    uint16_t stepsRemoved = 0;
    double offsetFromMaster = 0;
    double meanPathDelay = 0;

    bool operator==(const CurrentStatus&) const = default;
};

struct PortStatus
{
    int8_t logMinDelayReqInterval = 0;
    double peerMeanPathDelay = 0;
    int8_t logAnnounceInterval = 0;
    uint8_t announceReceiptTimeout = 0;
    int8_t logSyncInterval = 0;
    DelayMechanism delayMechanism = DelayMechanism::EndToEnd;
    int8_t logMinPdelayReqInterval = 0;
    uint8_t versionNumber = 2;
    PortIdentity identity;
    PortState state = PortState::Disabled;

    bool operator==(const PortStatus&) const = default;
};

struct DefaultStatus
{
    uint16_t numberPorts = 1;
    uint8_t clockClass = 0;
    uint8_t clockAccuracy = 0;
    uint16_t offsetScaledLogVariance = 0;
    bool twoStepFlag = true;
    uint8_t domainNumber = 0;
    bool slaveOnly = true;
    uint8_t priority1 = 0;
    uint8_t priority2 = 0;
    ClockIdentity clock;

    bool operator==(const DefaultStatus&) const = default;
};

struct TimeProperties
{
    int16_t currentUtcOffset = 37; // seconds
    bool currentUtcOffsetValid = false;
    bool leap59 = false;
    bool leap61 = false;
    bool timeTraceable = false;
    bool frequencyTraceable = false;
    bool ptpTimescale = false; // the master's time is TAI; otherwise it is an arbitrary one
    uint8_t timeSource = 160;  // an internal oscillator

    bool operator==(const TimeProperties&) const = default;
};

struct Status
{
    ParentStatus parent;
    CurrentStatus current;
    PortStatus port;
    DefaultStatus own;
    TimeProperties time;

    bool operator==(const Status&) const = default;
};

} // namespace mxs::ptp
