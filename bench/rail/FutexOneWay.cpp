// One way with a bare word and a bare futex: no sleeper in another process can be woken in less.
#include "Futex.h"
#include "OneWay.h"

namespace railbench
{
namespace
{
struct Word
{
    std::atomic<uint32_t> Count;
    int64_t Sent;
};
constexpr uint32_t kEnd = UINT32_MAX;

class FutexRoad : public OneWayRoad
{
public:
    explicit FutexRoad(unsigned receiverCpu)
        : Receiver([this, receiverCpu](const Partner& line) { Receive(line, receiverCpu); })
    {
        Receiver.Hear();
    }
    ~FutexRoad() override { Store(kEnd); }

    int64_t Measure() override
    {
        Shared->Sent = NowNs();
        Store(++Sent);
        int64_t taken = 0;
        if (read(Receiver.Line(), &taken, sizeof taken) != static_cast<ssize_t>(sizeof taken)) Fail("the receiver");
        return taken;
    }

private:
    void Store(uint32_t count) const
    {
        Shared->Count.store(count, std::memory_order_release);
        Futex(Shared->Count, FUTEX_WAKE, 1);
    }

    void Receive(const Partner& line, unsigned cpu) const
    {
        PinTo(cpu);
        line.Say();
        for (uint32_t seen = 0, count = 0;; seen = count)
        {
            while ((count = Shared->Count.load(std::memory_order_acquire)) == seen)
                Futex(Shared->Count, FUTEX_WAIT, seen);
            if (count == kEnd) return;
            const int64_t taken = NowNs() - Shared->Sent;
            if (write(line.Line(), &taken, sizeof taken) != static_cast<ssize_t>(sizeof taken)) return;
        }
    }

    const SharedWords<Word> Shared;
    Partner Receiver;
    uint32_t Sent = 0;
};
} // namespace

OneWayRoad* NewFutexRoad(uint32_t, unsigned receiverCpu)
{
    return new FutexRoad(receiverCpu);
}
} // namespace railbench
