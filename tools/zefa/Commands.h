// All commands with their options: the one table behind the program, its --help, its man page and its completion.
#pragma once

#include "Options.h"

#include <string>
#include <vector>

namespace zefa
{

using Run = int (*)(const Arguments& arguments);

struct Command
{
    const char* name; // one word, or two: "sdp check"
    const char* summary;
    const char* text; // a paragraph or more; an empty line between two
    std::vector<Operand> operands;
    std::vector<Option> options;
    Run run;
};

const std::vector<Command>& Commands();

// What stands in the table instead of a command: --help, --version, --man, --completion SHELL.
const std::vector<Option>& GeneralOptions();

// One function for each command. They return an exit code or throw a Failure.
int RunStatus(const Arguments& arguments);
int RunCores(const Arguments& arguments);
int RunInterfaces(const Arguments& arguments);
int RunConductors(const Arguments& arguments);
int RunPtp(const Arguments& arguments);
int RunReceive(const Arguments& arguments);
int RunSend(const Arguments& arguments);
int RunSdpCheck(const Arguments& arguments);
int RunSdpShow(const Arguments& arguments);
int RunSdpWrite(const Arguments& arguments);
int RunSdpDiff(const Arguments& arguments);

} // namespace zefa
