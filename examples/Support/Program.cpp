#include <Support/Program.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/get_error_info.hpp>
#include <glog/logging.h>

#include <TarselIO/Exception.h>

namespace Examples
{
namespace
{

constexpr int kWrongUsage = 2;

/// The library logs every step of its pipes. The program decides how much of that is shown.
void StartLog(const char* program, bool verbose)
{
    FLAGS_logtostderr = true;
    FLAGS_minloglevel = verbose ? google::GLOG_INFO : google::GLOG_FATAL;
    google::InitGoogleLogging(program);
}

int FinishOutput()
{
    if (std::cout.flush())
    {
        return EXIT_SUCCESS;
    }
    ReportError("cannot write to standard output");
    return EXIT_FAILURE;
}

/// The exception as one line: the file, what went wrong, and the system's reason.
std::string Summary(const Tarsel::Exception& error)
{
    std::string summary;
    for (const std::string* const part : {boost::get_error_info<Tarsel::ErrorFilename>(error),
                                          boost::get_error_info<Tarsel::ErrorDescription>(error),
                                          boost::get_error_info<Tarsel::ErrorDetails>(error)})
    {
        if (part != nullptr)
        {
            summary += (summary.empty() ? "" : ": ") + *part;
        }
    }
    return summary.empty() ? boost::diagnostic_information(error) : summary;
}

}  // namespace

int RunProgram(CLI::App& app, int argc, char** argv, const std::function<void()>& body)
{
    bool verbose = false;
    app.name(program_invocation_short_name);
    app.description(app.get_description() + '\n');
    app.set_help_flag("-h,--help", "show this help and exit");
    app.add_flag("-v,--verbose", verbose, "show the log on standard error");
    app.get_formatter()->column_width(18);
    app.get_formatter()->label("TEXT", "");
    app.get_formatter()->label("REQUIRED", "");
    try
    {
        app.parse(argc, argv);
        StartLog(argv[0], verbose);
        body();
        return FinishOutput();
    }
    catch (const CLI::CallForHelp&)
    {
        std::cout << app.help();
        return FinishOutput();
    }
    catch (const CLI::ParseError& error)
    {
        ReportError(error.what() + std::string(", try --help"));
        return kWrongUsage;
    }
    catch (...)
    {
        ReportCurrentException();
        return EXIT_FAILURE;
    }
}

bool IsVerbose()
{
    return FLAGS_minloglevel == google::GLOG_INFO;
}

void ReportError(const std::string& text)
{
    const char* const overProgressBar = ::isatty(STDERR_FILENO) == 1 ? "\r\033[K" : "";
    const std::string line = overProgressBar + std::string(program_invocation_short_name) + ": " + text + "\n";
    // Not through std::cerr: a thread that is stuck may hold its lock while another thread reports an error.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

void ReportCurrentException()
{
    LOG(INFO) << boost::current_exception_diagnostic_information();
    try
    {
        throw;
    }
    catch (const Tarsel::Exception& error)
    {
        ReportError(Summary(error));
    }
    catch (const std::exception& error)
    {
        ReportError(error.what());
    }
    catch (...)
    {
        ReportError("unknown failure");
    }
}

}  // namespace Examples
