// Memory that is taken piece by piece and given back as a whole. Chunks that were given back are kept for the next
// frame, so that a pool that has seen its largest frame asks for no more memory.
#pragma once

#include <new>
#include <utility>

namespace Quillmont::anc
{
// TChunk: `TChunk* Next`, and `void Reset()`, which makes it as a new one.
template <class TChunk>
class TChunkPool
{
public:
    TChunkPool() = default;
    TChunkPool(const TChunkPool&) = delete;
    TChunkPool& operator=(const TChunkPool&) = delete;
    ~TChunkPool()
    {
        GiveAllBack();
        while (Spare)
            delete std::exchange(Spare, Spare->Next);
    }

    // The chunk that memory is taken from, null before the first AddChunk.
    TChunk* Head() const { return Newest; }

    // Whether `predicate` holds for one of the chunks, in use or kept.
    template <class TPredicate>
    bool AnyChunk(TPredicate predicate) const
    {
        for (const TChunk* list : {Newest, Spare})
            for (const TChunk* chunk = list; chunk; chunk = chunk->Next)
                if (predicate(*chunk)) return true;
        return false;
    }

    // Puts an unused chunk at the head; null, and all as it was, when there is no memory.
    [[gnu::noinline]] TChunk* AddChunk() // seldom called, from where every instruction counts
    {
        TChunk* chunk = Spare;
        if (chunk)
            Spare = chunk->Next;
        else
            chunk = new (std::nothrow) TChunk{};
        if (!chunk) return nullptr;
        chunk->Next = Newest;
        return Newest = chunk;
    }

    void GiveAllBack()
    {
        while (Newest)
        {
            TChunk* const chunk = std::exchange(Newest, Newest->Next);
            chunk->Reset();
            chunk->Next = std::exchange(Spare, chunk);
        }
    }

private:
    TChunk* Newest = nullptr;
    TChunk* Spare = nullptr;
};
} // namespace Quillmont::anc
