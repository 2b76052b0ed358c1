// The lines that a frame or one field of it has.
#pragma once

#include <cstdint>

namespace Quillmont::anc
{
struct LineRange // a line is in it when First < line <= Last
{
    uint32_t First = 0, Last = 0;

    bool Contains(uint32_t line) const { return First < line && line <= Last; }
};

// `field`: the lines of one field of a frame of `activeHeight` lines, none for a height or a field that is not known.
// Otherwise those of the frame.
LineRange LinesOf(bool field, uint32_t activeHeight, bool progressive, uint32_t totalHeight, uint32_t fieldIndex);

// TRequest: one of the requests of IAncPlaylistManager.h.
template <class TRequest>
LineRange LinesOf(const TRequest& request)
{
    return LinesOf(request.FieldMode != 0, request.ActiveHeight, request.Progressive != 0, request.TotalHeight,
                   request.FieldIndex);
}
} // namespace Quillmont::anc
