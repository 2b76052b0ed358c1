// What happens when a process loads the library.
#include "logger/LoggingConfiguration.h"

namespace
{
// Static initialisers of other files may run before or after this: it uses nothing but what is constant-initialised or
// local to a function.
[[gnu::constructor]] void AttachToProcess() noexcept
{
    try
    {
        Quillmont::Logger::ReadLoggingConfiguration("Software\\Quillmont\\Zefaline");
    }
    catch (...) // no failure of the configuration keeps the library from being loaded
    {
        return;
    }
}
} // namespace
