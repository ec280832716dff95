#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Examples
{

struct ProgramInfo
{
    const char* help;         ///< what --help prints
    std::size_t minOperands;  ///< how many arguments that are no options the program takes
    std::size_t maxOperands;
};

/// The frame of every example: understands --help and --verbose, sets up the log, runs `body` with the other arguments
/// and reports what it throws. Returns the exit code: 0, 1 after a failure, 2 if the command line is wrong.
int RunProgram(int argc,
               char** argv,
               const ProgramInfo& info,
               const std::function<void(const std::vector<std::string>& operands)>& body);

/// Whether the log is shown.
bool IsVerbose();

/// Prints one line on stderr: the program's name and `text`.
void ReportError(const std::string& text);

/// Prints one line about the exception that is being handled; all of its records go to the log.
void ReportCurrentException();

}  // namespace Examples
