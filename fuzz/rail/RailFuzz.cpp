// One side of a rail while the other writes what it likes into the shared file: header, positions, states, tables and
// data. After each operation the file is compared with what it was: a side changes what is its own to write, and
// nothing else. What lies around the mapping takes no access at all.
//
// The input: one byte of bits (1: the rail is its consumer's, 2: this side has made it, 4: the file is longer than it
// says, 8: shorter, 16: nobody holds the creator's lock), one that picks the size, then steps. A step is one byte of
// what is done and what that takes.
#include "RailDescription.h"
#include "RailLayout.h"
#include "flowrail1.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <span>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Quillmont::FlowRail;

namespace
{

void Require(bool holds)
{
    if (!holds) std::abort();
}

class Input
{
public:
    explicit Input(std::span<const uint8_t> bytes) : Rest(bytes) {}

    bool IsEmpty() const { return Rest.empty(); }
    template <class Number>
    Number Take() // zeros behind the end
    {
        Number number = 0;
        const size_t count = std::min(sizeof number, Rest.size());
        std::memcpy(&number, Rest.data(), count);
        Rest = Rest.subspan(count);
        return number;
    }

private:
    std::span<const uint8_t> Rest;
};

// The file as the other side has it.
class SharedFile
{
public:
    // A file of its own, or one that this side has made.
    SharedFile(const std::string& path, uint64_t createdBytes) : Path(createdBytes ? path : "")
    {
        Descriptor =
            open(path.c_str(), createdBytes ? O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC : O_RDWR | O_CLOEXEC, 0600);
        Require(Descriptor >= 0);
        if (createdBytes) Require(ftruncate(Descriptor, static_cast<off_t>(createdBytes)) == 0);
        Bytes = static_cast<size_t>(lseek(Descriptor, 0, SEEK_END));
        void* const mapped = mmap(nullptr, Bytes, PROT_READ | PROT_WRITE, MAP_SHARED, Descriptor, 0);
        Require(mapped != MAP_FAILED);
        Base = static_cast<uint8_t*>(mapped);
    }
    ~SharedFile()
    {
        if (!Path.empty()) unlink(Path.c_str());
        munmap(Base, Bytes);
        close(Descriptor);
    }
    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;

    void Hold(int64_t byte) const
    {
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = byte;
        lock.l_len = 1;
        Require(fcntl(Descriptor, F_OFD_SETLK, &lock) == 0);
    }
    RailHeader& Header() const { return *reinterpret_cast<RailHeader*>(Base); }
    std::span<uint8_t> Content() const { return {Base, Bytes}; }

private:
    const std::string Path; // to be removed
    int Descriptor = -1;
    uint8_t* Base = nullptr;
    size_t Bytes = 0;
};

struct Range
{
    size_t begin, end;
};

constexpr size_t kProducer = offsetof(RailHeader, CommittedBytes),
                 kConsumersAsleep = offsetof(RailHeader, ConsumersAsleep);
constexpr size_t kProducerAsleep = offsetof(RailHeader, ProducerAsleep), kStates = offsetof(RailHeader, ConsumerStates);
constexpr size_t kPositions = offsetof(RailHeader, Released);

class Side
{
public:
    Side(const std::string& name, const RailGeometry& geometry, bool isCreator)
        : Geometry(geometry), MayProduce(isCreator || geometry.CreatorRole == RailRole::Consumer)
    {
        Descriptor.Type = FLOW_RAIL_TYPE_FILE_MAP;
        Descriptor.Description = {{"Name", name},
                                  {"SlotBytes", std::to_string(geometry.SlotBytes)},
                                  {"SlotCount", std::to_string(geometry.SlotCount)},
                                  {"Role", geometry.CreatorRole == RailRole::Producer ? "producer" : "consumer"}};
    }

    bool Create() { return Rail->Create(&Descriptor) == FLOW_RAIL_OK; }
    uint32_t Open() { return Rail->Open(&Descriptor); }
    void Use(Input& input, const SharedFile& file);

private:
    struct Locked
    {
        void* slot;
        uint32_t size;
    };

    uint32_t Lock(bool producer, uint32_t size);
    void Touch(const Locked& locked, uint8_t value);
    void ReadRecords(const Locked& locked, uint32_t type, uint32_t most);
    void Unlock(bool producer, size_t which);
    void Ask();
    void Reopen();
    void Forge(Input& input, const SharedFile& file) const;
    std::vector<Range> Own() const;

    const RailGeometry Geometry;
    const bool MayProduce;
    FLOW_RAIL_DESCRIPTOR Descriptor;
    std::unique_ptr<CFlowRail> Rail{CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP)};
    uint64_t Token = 0;
    std::vector<Locked> Produced, Consumed;
    bool DataIsOurs = false; // in this step
};

uint32_t Side::Lock(bool producer, uint32_t size)
{
    void* slot = nullptr;
    const uint32_t result = producer ? Rail->LockProducer(size, 0, &slot) : Rail->LockConsumer(&Token, size, 0, &slot);
    Require((result == FLOW_RAIL_OK) == (slot != nullptr));
    if (result == FLOW_RAIL_OK) (producer ? Produced : Consumed).push_back({slot, size});
    return result;
}

// Every byte of the region is written; those of a consumer are its reader's to change too.
void Side::Touch(const Locked& locked, uint8_t value)
{
    uint8_t* address = nullptr;
    if (Rail->GetSlotAddress(locked.slot, &address) != FLOW_RAIL_OK) return;
    std::memset(address, value, locked.size);
    DataIsOurs = true;
}

void Side::ReadRecords(const Locked& locked, uint32_t type, uint32_t most)
{
    const std::unique_ptr<FLOW_RAIL_METADATA[]> records(new FLOW_RAIL_METADATA[most]);
    uint32_t count = 0, all = 0;
    if (Rail->GetMetadata(locked.slot, type, records.get(), most, &count) != FLOW_RAIL_OK) return;
    Require(Rail->GetMetadataCount(locked.slot, type, &all) == FLOW_RAIL_OK);
    Require(count == std::min(all, most));
    for (const FLOW_RAIL_METADATA& record : std::span(records.get(), count))
        Require(record.Type == type && record.Position < locked.size);
}

void Side::Unlock(bool producer, size_t which)
{
    std::vector<Locked>& held = producer ? Produced : Consumed;
    if (held.empty()) return;
    const auto chosen = held.begin() + static_cast<std::ptrdiff_t>(which % held.size());
    const uint32_t result = producer ? Rail->UnlockProducer(chosen->slot) : Rail->UnlockConsumer(&Token, chosen->slot);
    Require(result == FLOW_RAIL_OK);
    held.erase(chosen);
}

void Side::Ask()
{
    Require(Rail->GetConsumerFill(&Token, 0) <= Geometry.Capacity());
    Require(Rail->GetProducerSpace(0) <= Geometry.Capacity());
    uint32_t rest = 0;
    const uint32_t result = Rail->GetConsumerAlignment(&Token, &rest);
    if (result == FLOW_RAIL_OK) Require(rest >= 1 && rest <= Geometry.SlotBytes);
    FLOW_RAIL_STATUS status{};
    if (Rail->GetStatus(&status) == FLOW_RAIL_OK)
        Require(status.Consumers <= kMaxConsumers && status.CapacityBytes == Geometry.Capacity());
}

void Side::Reopen()
{
    Require(Rail->Close() == FLOW_RAIL_OK);
    Produced.clear();
    Consumed.clear();
    Token = 0;
    const uint32_t result = Rail->Open(&Descriptor);
    Require(result == FLOW_RAIL_OK || result == FLOW_RAIL_BAD_STATE);
}

// What the other side does: a word anywhere, a position near the one that stands there, or a state.
void Side::Forge(Input& input, const SharedFile& file) const
{
    RailHeader& header = file.Header();
    const auto what = input.Take<uint8_t>();
    const uint32_t place = what / 8 % kMaxConsumers;
    const auto near = static_cast<uint64_t>(int64_t{input.Take<int16_t>()});
    switch (what % 8)
    {
    case 0: header.CommittedBytes += near; break;
    case 1: header.CommittedBytes = header.Released[place].Bytes + near; break;
    case 2: header.Released[place].Bytes = header.CommittedBytes + near; break;
    case 3: header.Released[place].Bytes = near; break; // the highest numbers too
    case 4: header.ConsumerStates[place] = static_cast<uint32_t>(near); break;
    case 5: header.ProducerState = static_cast<uint32_t>(near); break;
    case 6:
        header.ConsumersAsleep = static_cast<uint32_t>(near);
        header.ProducerAsleep = place;
        break;
    default:
        const size_t words = file.Content().size() / sizeof(uint32_t);
        const auto word = input.Take<uint32_t>();
        std::memcpy(file.Content().data() + static_cast<uint16_t>(near) % words * sizeof word, &word, sizeof word);
    }
}

// What this side may write in a step.
std::vector<Range> Side::Own() const
{
    std::vector<Range> own{{kConsumersAsleep, kConsumersAsleep + 4}, {kProducerAsleep, kProducerAsleep + 4}};
    own.push_back({kStates, kStates + 4 * kMaxConsumers}); // its consumer's, and those that its producer drops
    own.push_back({kPositions, kPositions + sizeof(RailPosition) * kMaxConsumers});
    if (MayProduce) own.push_back({kProducer, kProducer + 12});
    if (!Produced.empty()) own.push_back({kTablesOffset, Geometry.DataOffset});
    if (DataIsOurs) own.push_back({Geometry.DataOffset, Geometry.FileBytes});
    return own;
}

bool IsSameOutside(std::span<const uint8_t> before, std::span<const uint8_t> now, std::vector<Range> own)
{
    std::sort(own.begin(), own.end(), [](const Range& left, const Range& right) { return left.begin < right.begin; });
    own.push_back({before.size(), before.size()});
    size_t from = 0;
    for (const Range& range : own)
    {
        if (std::memcmp(before.data() + from, now.data() + from, std::min(range.begin, before.size()) - from) != 0)
            return false;
        from = std::min(range.end, before.size());
    }
    return true;
}

void Side::Use(Input& input, const SharedFile& file)
{
    const auto step = input.Take<uint8_t>();
    if (step % 4 == 0) return Forge(input, file);
    const std::vector<uint8_t> before(file.Content().begin(), file.Content().end());
    DataIsOurs = false;
    const bool producer = step & 128;
    std::vector<Locked>& held = producer ? Produced : Consumed;
    const uint32_t size = input.Take<uint16_t>() % (Geometry.Capacity() + 2);
    switch (step / 4 % 8)
    {
    case 0: Lock(producer, size); break;
    case 1:
        if (Lock(producer, size) == FLOW_RAIL_OK) Touch(held.back(), step);
        break;
    case 2: Unlock(producer, size); break;
    case 3:
        if (!held.empty()) ReadRecords(held[size % held.size()], step / 64 + 1, size / 8 % 300);
        break;
    case 4:
        if (!Produced.empty())
        {
            const Locked& last = Produced.back();
            const uint32_t result = Rail->AddMetadata(last.slot, step / 64 + 1, size, size);
            if (size >= last.size) Require(result == FLOW_RAIL_BAD_ARGUMENT);
        }
        break;
    case 5:
        if (Token == 0)
            Rail->AddConsumer(&Token);
        else if (producer && Rail->RemoveConsumer(&Token) == FLOW_RAIL_OK)
            Consumed.clear();
        break;
    case 6: Ask(); break;
    default: Reopen();
    }
    Require(IsSameOutside(before, file.Content(), Own()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr std::array<std::pair<uint32_t, uint32_t>, 5> kSizes{{{100, 4}, {1, 7}, {4096, 1}, {1000, 5}, {3, 9}}};
    if (size < 2) return 0;
    Input input({data, size});
    const auto bits = input.Take<uint8_t>();
    const auto [slotBytes, slotCount] = kSizes[input.Take<uint8_t>() % kSizes.size()];
    const RailGeometry geometry = MakeGeometry(slotBytes, slotCount, bits & 1 ? RailRole::Consumer : RailRole::Producer,
                                               static_cast<uint64_t>(sysconf(_SC_PAGESIZE)));
    const std::string name = "fuzz-" + std::to_string(getpid());

    if (bits & 2)
    {
        Side side(name, geometry, true);
        Require(side.Create());
        const SharedFile file(RailPath(name), 0);
        while (!input.IsEmpty())
            side.Use(input, file);
        return 0;
    }
    const uint64_t bytes = geometry.FileBytes + (bits & 4 ? 1 : 0) - (bits & 8 ? 1 : 0);
    const SharedFile file(RailPath(name), bytes);
    file.Header().Geometry = geometry;
    file.Header().ProducerState = kProducerAlive;
    if (!(bits & 16)) file.Hold(kCreatorLock);
    if (!(bits & 1)) file.Hold(kProducerLock);
    Side side(name, geometry, false);
    const uint32_t result = side.Open();
    Require(result == (bits & 28 ? FLOW_RAIL_BAD_STATE : FLOW_RAIL_OK) || (bits & 28) == 12);
    while (!input.IsEmpty())
        side.Use(input, file);
    return 0;
}
