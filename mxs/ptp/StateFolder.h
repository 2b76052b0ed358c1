// The private folder of a running daemon: its configuration and its management sockets.
#pragma once

#include <string>

namespace mxs::ptp
{

class StateFolder
{
public:
    // Makes a folder of a new name below another one; only this user may enter. Throws std::system_error.
    explicit StateFolder(const std::string& parent);
    ~StateFolder(); // with all that is in it
    StateFolder(const StateFolder&) = delete;
    StateFolder& operator=(const StateFolder&) = delete;

    const std::string& Path() const { return Name; }
    void Write(const std::string& file, const std::string& text) const; // throws std::system_error

    // Removes those that killed services of this user have left; their number.
    static unsigned RemoveAbandoned(const std::string& parent);
    static std::string DefaultParent(); // the folder for temporary files

private:
    std::string Name;
    int LockFd = -1; // held as long as the folder is in use
};

} // namespace mxs::ptp
