// Signals that ask the program to end, and waits that hear them.
#pragma once

#include <functional>

namespace zefa
{

// Signals end the program the way it came, so that nothing made at the service stays there: interrupts and a lost
// terminal end the loops, and writing to a pipe that nobody reads fails.
void CatchSignals();

bool Interrupted();
bool NotInterrupted();

// Waits; false when a signal asked the program to end.
bool Pause(double seconds);

// Asked several times a second while something stands still. False ends the wait, and so does a Failure.
using GoOn = std::function<bool()>;

// Waits until poll finds the descriptor ready for `events`; false when `goOn` ended the wait.
bool AwaitReady(int descriptor, short events, const GoOn& goOn);

} // namespace zefa
