// Processes beside the benchmark: an HTTP server that answers at once, and the bare HTTP library as it comes, with the
// large pool of threads that a process cannot get rid of once it has it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

// A child that ends with this object, and with this process. To be made before the first thread.
class PeerProcess
{
public:
    using Body = int (*)(int in, int out, const std::string& argument); // the child's main, with its ends of two pipes

    PeerProcess(Body body, const std::string& argument);
    ~PeerProcess();
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    void Send(uint64_t value) const;
    uint64_t Receive() const; // ends the program when the child has gone

private:
    pid_t Child = -1;
    int ToChild = -1;
    int FromChild = -1;
};

// Serves a small document to every GET and nothing to the rest, on kept connections; sends its port first.
int ServeDocument(int in, int out, const std::string& document);

bool WriteNumber(int descriptor, uint64_t value);
bool ReadNumber(int descriptor, uint64_t* value);
