// The clock of the service: the grandmaster's time while the PTP port is a slave, and the system's otherwise. The
// system's clock is never touched: a grandmaster is followed by what is added to its readings.
#pragma once

#include "mxs/media/MediaClock.h"
#include "mxs/ptp/PtpRecords.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>

namespace mxs::ptp
{

constexpr int64_t kNsPerSecond = 1000000000;
constexpr int kTaiMinusUtc = 37; // seconds, since 2017, where nobody says otherwise

// One look at the daemon with its port a slave, and time stamps of the system's clock.
struct MasterSample
{
    int64_t systemNs = 0;           // when the offset was measured
    int64_t offsetFromMasterNs = 0; // as ptp4l tells it
    TimeProperties time;
};

// Neither time is farther from 0 than 4e18 ns, 126 years: sums and differences of two stay within 64 bits. A network
// can say anything.
bool IsPlausible(const MasterSample& sample);

// TAI less the system's clock, by a look that is plausible. On the PTP timescale the master's time is TAI, and ptp4l
// has moved the system's clock there, by the UTC offset, before it took the difference; otherwise the master is taken
// to tell UTC.
int64_t TaiMinusSystemNs(const MasterSample& sample);

// How TAI follows from the system's clock.
struct Relation
{
    int64_t systemNs = 0;
    int64_t taiMinusSystemNs = 0;
    double rate = 0; // of the difference, in seconds a second

    bool operator==(const Relation&) const = default;
};

// The relation behind a look, with the rate that it shows beside the looks before. A difference that jumps is a clock
// that was set, and no rate. Within more than a minute a clock may have been set unseen: the rate stays what it was.
Relation Follow(const std::optional<Relation>& before, const MasterSample& sample);

// TAI at a reading of the system's clock. The rate holds for a minute: a clock that was set would be far off.
int64_t TaiAt(const Relation& relation, int64_t systemNs);

class ServiceClock : public media::MediaClock
{
public:
    struct State
    {
        bool followsPtp = false;        // the time is the grandmaster's, or was when it was last heard
        bool locked = false;            // the grandmaster is being heard
        int64_t offsetFromMasterNs = 0; // of the system's clock, as last measured
        int64_t taiMinusSystemNs = 0;
        int16_t utcOffset = 0; // seconds, as the grandmaster says
        bool utcOffsetValid = false;
        bool ptpTimescale = false;
    };

    // Any thread, no lock, two readings of the system's clocks at most.
    uint64_t TaiNs() const noexcept override;

    // The daemon's thread alone.
    void Take(const MasterSample& sample); // the port is a slave; a look that is not plausible is as Hold
    void Hold();                           // it no longer is: the time runs on as it did
    void Release();                        // there is no daemon: the system's clock

    State Read() const; // any thread

private:
    void Publish(bool follows, const Relation& relation);

    mutable std::mutex Mutex; // guards what Read tells and nothing that TaiNs needs
    State Told;
    std::optional<Relation> Last;

    // One writer. Odd while it writes; readers that see a change in between read anew.
    std::atomic<uint32_t> Version{0};
    std::atomic<bool> Follows{false};
    std::atomic<int64_t> SystemNs{0}, DifferenceNs{0};
    std::atomic<double> Rate{0};
};

} // namespace mxs::ptp
