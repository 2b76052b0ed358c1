// Outliving a rail whose file was cut short: its missing pages are a signal, which is answered with empty memory.
#ifndef FLOWRAIL_RAILGUARD_H
#define FLOWRAIL_RAILGUARD_H

#include <cstddef>
#include <cstdint>

namespace Quillmont::FlowRail
{
// The memory of one rail, as the handler of the signal knows it. Without that handler it does nothing.
class RailGuard
{
public:
    // Sets the handler of SIGBUS, once for the process. False when the system refuses.
    static bool Install();

    RailGuard() = default;
    ~RailGuard() { Forget(); }
    RailGuard(const RailGuard&) = delete;
    RailGuard& operator=(const RailGuard&) = delete;

    bool Watch(uint8_t* begin, size_t bytes); // false, with ENOMEM: there are too many rails
    void Forget();                            // before the memory is unmapped
    bool HasFaulted() const;                  // what was the rail is now empty memory of this process alone

private:
    static constexpr size_t kNone = SIZE_MAX;
    size_t Place = kNone; // in the handler's table
};
} // namespace Quillmont::FlowRail

#endif
