// A description that was read, with all that there is to say of it.
#pragma once

#include "Complaints.h"
#include "LoggedCall.h"
#include "Session.h"

#include <string>
#include <vector>

namespace zefa
{

struct Reading
{
    CallResult Result;
    std::vector<Complaint> Complaints; // the reader's
    std::vector<Complaint> Hints;      // this program's
};

Reading ReadFully(const std::string& text);

// The same; what the reader says goes to the standard error stream, and a Failure of kComplaints follows a refusal.
Reading ReadOrFail(const std::string& text, const std::string& file);

} // namespace zefa
