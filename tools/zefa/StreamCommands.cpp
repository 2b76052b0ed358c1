// zefa receive and zefa send: media through the ring, with live counters.
#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Session.h"
#include "StreamFiles.h"
#include "StreamSession.h"
#include "Words.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>

namespace zefa
{
namespace
{
using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// When to end, by the options and by what has happened.
class Limits
{
public:
    explicit Limits(const Arguments& arguments)
        : Slots(arguments.Number("--slots", 1, UINT64_MAX, UINT64_MAX)),
          Seconds(static_cast<double>(arguments.Number("--seconds", 1, 1'000'000'000, 1'000'000'000))),
          Patience(static_cast<double>(arguments.Number("--timeout", 1, 1'000'000'000, 10)))
    {
    }

    bool GoOn() const { return !Interrupted() && Done < Slots && SecondsSince(Start) < Seconds; }
    void Count()
    {
        ++Done;
        Moved();
    }
    bool OutOfPatience() const { return SecondsSince(Last) >= Patience; }
    std::string PatienceText() const { return std::to_string(static_cast<uint64_t>(Patience)) + " s"; }
    void Moved() { Last = Clock::now(); } // a slot did: the patience begins again

    // The time runs from here, not from the making of the object.
    void Begin() { Start = Last = Clock::now(); }

    uint64_t Done = 0;
    Clock::time_point Start = Clock::now();

private:
    const uint64_t Slots;
    const double Seconds, Patience;
    Clock::time_point Last = Start;
};

// One line of counters once an interval: redrawn in place on a terminal, JSON with --json.
class CounterLine
{
public:
    CounterLine(const Arguments& arguments, bool toErrors)
        : AsJson(arguments.Has("--json")), ToErrors(toErrors), InPlace(!AsJson && !toErrors && OutputIsTerminal()),
          Interval(static_cast<double>(arguments.Number("--interval", 1, 3'600'000, 1000)) / 1000)
    {
    }
    CounterLine(const CounterLine&) = delete;
    CounterLine& operator=(const CounterLine&) = delete;
    ~CounterLine()
    {
        if (!Unended) return;
        try
        {
            Print("\n"); // the sentence of the failure that leads here has a line of its own
        }
        catch (const Failure&) // it is that one
        {
        }
    }

    void PrintWhenDue(const Stream& stream, const Limits& limits, uint64_t holes)
    {
        if (SecondsSince(std::max(LastTime, limits.Start)) >= Interval)
            Show(stream, limits, holes, InPlace ? "" : "\n");
    }

    void PrintLast(const Stream& stream, const Limits& limits, uint64_t holes) { Show(stream, limits, holes, "\n"); }

private:
    void Show(const Stream& stream, const Limits& limits, uint64_t holes, const char* end)
    {
        const double since = SecondsSince(std::max(LastTime, limits.Start));
        const double rate = since > 0 ? static_cast<double>(limits.Done - LastSlots) / since : 0;
        LastTime = Clock::now();
        LastSlots = limits.Done;
        const Counters counters = stream.Count();
        const Json document{{"seconds", SecondsSince(limits.Start)},
                            {"slots", limits.Done},
                            {"slotsPerSecond", rate},
                            {"slotsFilled", counters.Common.SlotsFilled_UL},
                            {"slotsDropped", counters.Common.SlotDropped_UL},
                            {"packets", counters.Network.TotalTransferredPacketCount_ULL},
                            {"packetsProcessed", counters.Network.TotalProcessedPacketCount_ULL},
                            {"packetsLost", counters.Network.LostPacketsCount_ULL},
                            {"drops", counters.Network.DropCount_ULL},
                            {"underruns", counters.Network.UnderrunCount_ULL},
                            {"holes", holes},
                            {"ssrc", counters.Network.ReceivedSSRC_UL}};
        const std::string text = AsJson ? JsonText(document, false) : Line(document);
        const std::string whole = (InPlace ? "\r\x1b[K" : "") + text + end;
        if (ToErrors)
            std::fputs(whole.c_str(), stderr);
        else
            Print(whole);
        Unended = end[0] == '\0';
    }

    static std::string Line(const Json& counters)
    {
        char text[256];
        std::snprintf(text, sizeof text,
                      "%8.1f s  %llu slots  %.2f/s  %llu packets  %llu lost  %llu holes  %llu dropped  %llu underruns  "
                      "%llu in the ring",
                      counters["seconds"].get<double>(), Number(counters, "slots"),
                      counters["slotsPerSecond"].get<double>(), Number(counters, "packets"),
                      Number(counters, "packetsLost"), Number(counters, "holes"), Number(counters, "slotsDropped"),
                      Number(counters, "underruns"), Number(counters, "slotsFilled"));
        return text;
    }

    static unsigned long long Number(const Json& counters, const char* key)
    {
        return counters[key].get<unsigned long long>();
    }

    const bool AsJson, ToErrors, InPlace;
    const double Interval;
    Clock::time_point LastTime = Clock::now();
    uint64_t LastSlots = 0;
    bool Unended = false;
};

// Waits for a slot, the patience long; null when the limits end the waiting.
ZEFA_SLOT NextSlot(const Stream& stream, const Limits& limits, CounterLine& line, uint64_t holes, const char* silence)
{
    while (limits.GoOn())
    {
        line.PrintWhenDue(stream, limits, holes);
        ZEFA_SLOT slot = nullptr;
        const ZEFA_ERRORCODE code = ZEFA_LockSlot(stream.Handle(), &slot);
        if (code == ZEFA_NO_ERROR) return slot;
        if (code == ZEFA_ERR_INCORRECT_STATE) stream.Count(); // a service that is gone gives it, too: then this fails
        if (code != ZEFA_ERR_TIMEOUT) Check(code, "No slot could be locked");
        if (limits.OutOfPatience()) throw Failure(kNothingMoved, silence + (" " + limits.PatienceText()) + ".");
    }
    return nullptr;
}

std::span<uint8_t> BufferOf(ZEFA_HANDLE stream, ZEFA_SLOT slot, ZEFA_BUFFER_TYPE type)
{
    uint8_t* bytes = nullptr;
    uint32_t size = 0;
    Check(ZEFA_GetSlotBuffer(stream, slot, type, &bytes, &size), "A buffer of the slot could not be reached");
    return {bytes, size};
}

// How a file that stands still is waited for: the counters go on, and the limits hold.
GoOn WithLimits(const Stream& stream, const Limits& limits, CounterLine& line, const uint64_t& holes,
                const std::string& silence)
{
    return [&, silence]
    {
        line.PrintWhenDue(stream, limits, holes);
        if (!limits.GoOn()) return false;
        if (limits.OutOfPatience()) throw Failure(kNothingMoved, silence + " " + limits.PatienceText() + ".");
        return true;
    };
}

// Looks at a received slot and writes it. Returns the holes in it.
class SlotTaker
{
public:
    SlotTaker(const Description& description, const std::optional<std::string>& output, const GoOn& goOn)
        : IsAnc(description.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_40), OutputGoOn(goOn)
    {
        if (!IsAnc) Buffers = BuffersOf(description);
        uint32_t other = 0;
        uint8_t flag = 0;
        if (IsAnc)
            ZEFA_GetAncSdiVideoStandardInfo(description.Anc().VideoStandard_E, &other, &other, &Lines, &other, &other,
                                            &flag, &flag);
        if (output) Output.emplace(*output, goOn);
    }

    uint64_t Take(ZEFA_HANDLE stream, ZEFA_SLOT slot, uint64_t number)
    {
        if (IsAnc)
        {
            if (Output) Output->Write(AncText(stream, slot, number, Lines), OutputGoOn);
            return 0;
        }
        uint64_t holes = 0;
        for (const ZEFA_BUFFER_TYPE type : Buffers)
        {
            ZEFA_LOST_DATA lost[256];
            uint32_t count = 256;
            Check(ZEFA_GetSlotLostDataInfo(stream, slot, type, lost, &count), "The slot's losses could not be read");
            holes += count;
            if (!Output) continue;
            const std::span<uint8_t> buffer = BufferOf(stream, slot, type);
            Output->Write(buffer.data(), buffer.size(), OutputGoOn);
        }
        return holes;
    }

private:
    const bool IsAnc;
    uint32_t Lines = 0;
    std::vector<ZEFA_BUFFER_TYPE> Buffers;
    const GoOn OutputGoOn;
    std::optional<MediaOutput> Output;
};

// Fills slots from a file.
class SlotFiller
{
public:
    SlotFiller(const Description& description, const std::string& input, bool loop)
    {
        if (description.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_40)
            Anc.emplace(input, loop);
        else
            Media.emplace(input, loop);
        if (Media) Buffers = BuffersOf(description);
    }

    bool HasMore(const GoOn& goOn) { return Anc ? Anc->HasMore() : Media->HasMore(goOn); }

    // False when the wait for the rest of a slot was ended.
    bool Fill(ZEFA_HANDLE stream, ZEFA_SLOT slot, const GoOn& goOn)
    {
        if (Anc) Anc->Fill(stream, slot);
        return std::all_of(Buffers.begin(), Buffers.end(),
                           [&](ZEFA_BUFFER_TYPE type) { return Media->Fill(BufferOf(stream, slot, type), goOn); });
    }

private:
    std::optional<AncInput> Anc; // one of the two
    std::optional<MediaInput> Media;
    std::vector<ZEFA_BUFFER_TYPE> Buffers;
};

// Stopping a stream drops what is in its ring. A slot leaves the ring when all of it has been sent; those that are kept
// locked never do.
void WaitUntilSent(const Stream& stream, Limits& limits, CounterLine& line, uint32_t kept)
{
    uint32_t least = UINT32_MAX;
    while (const uint32_t left = std::max(stream.Count().Common.SlotsFilled_UL, kept) - kept)
    {
        line.PrintWhenDue(stream, limits, 0);
        if (left < least) limits.Moved();
        if (limits.OutOfPatience())
            throw Failure(kNothingMoved, "The service sent no slot for " + limits.PatienceText() +
                                             "; dropped at the end: " + std::to_string(left) + ".");
        least = std::min(least, left);
        if (!Pause(0.02)) return;
    }
}
} // namespace

int RunReceive(const Arguments& arguments)
{
    const Description description = StreamDescription(arguments);
    const std::optional<std::string> output = arguments.Find("--output");
    CounterLine line(arguments, output == "-");
    Limits limits(arguments);
    const Session session(arguments);
    const Stream stream(session, arguments, description, ZEFA_STREAM_TYPE_RX);
    limits.Begin();
    uint64_t holes = 0;
    // Opened last: what cannot be begun empties no file.
    const std::string name = output == "-" ? "The standard output" : output.value_or("");
    SlotTaker taker(description, output, WithLimits(stream, limits, line, holes, name + " took nothing for"));
    while (const ZEFA_SLOT slot = NextSlot(stream, limits, line, holes, "Nothing arrived for"))
    {
        Undo unlock;
        unlock.Add("ZEFA_UnlockSlot", [&] { return ZEFA_UnlockSlot(stream.Handle(), slot); });
        limits.Moved(); // the patience with the output begins here
        holes += taker.Take(stream.Handle(), slot, limits.Done);
        limits.Count();
    }
    line.PrintLast(stream, limits, holes);
    if (limits.Done == 0 && !Interrupted()) throw Failure(kNothingMoved, "Nothing arrived.");
    return kGood;
}

int RunSend(const Arguments& arguments)
{
    const std::optional<std::string> input = arguments.Find("--input");
    if (!input) throw Failure(kUsage, "--input is missing: the file with the samples.");
    const Description description = StreamDescription(arguments);
    SlotFiller filler(description, *input, arguments.Has("--loop"));
    CounterLine line(arguments, false);
    Limits limits(arguments);
    const Session session(arguments);
    const Stream stream(session, arguments, description, ZEFA_STREAM_TYPE_TX);
    limits.Begin();
    uint32_t kept = 0;
    const uint64_t noHoles = 0;
    const std::string name = *input == "-" ? "The standard input" : *input;
    const GoOn goOn = WithLimits(stream, limits, line, noHoles, name + " gave nothing for");
    while (limits.GoOn() && filler.HasMore(goOn))
    {
        const ZEFA_SLOT slot = NextSlot(stream, limits, line, 0, "The service took no slot for");
        if (!slot) break;
        // A slot that is not full stays locked: the unlock would send it. The stop of the stream drops it.
        kept = filler.Fill(stream.Handle(), slot, goOn) ? 0 : 1;
        if (kept) break;
        Check(ZEFA_UnlockSlot(stream.Handle(), slot), "A slot could not be unlocked");
        limits.Count();
    }
    WaitUntilSent(stream, limits, line, kept);
    line.PrintLast(stream, limits, 0);
    return kGood;
}

} // namespace zefa
