#pragma once

#include <functional>
#include <string>

namespace CLI
{
class App;
}  // namespace CLI

namespace Examples
{

/// Runs an example: parses the command line as `app` describes it, with --help and --verbose added, sets up the log,
/// runs `body` and reports what it throws. Returns the exit status: 0, 1 after a failure, 2 if the command line is
/// wrong.
int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& body);

/// Whether the log is shown.
bool IsVerbose();

/// Prints one line on stderr: the program's name and `text`.
void ReportError(const std::string& text);

/// Prints one line about the exception that is being handled and writes all of its records to the log.
void ReportCurrentException();

}  // namespace Examples
