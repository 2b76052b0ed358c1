// What is made of the table of commands: help texts, the man page, the shell completion.
#pragma once

#include "Commands.h"

#include <string>

namespace zefa
{

std::string Synopsis(const Command& command); // "zefa cores [--service URL] ..."
std::string HelpText();                       // all commands
std::string HelpText(const Command& command);
std::string ManPage(const std::string& version);
std::string BashCompletion();

} // namespace zefa
