#include <Support/Program.h>

#include <cerrno>
#include <cstdlib>
#include <getopt.h>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/get_error_info.hpp>
#include <glog/logging.h>

#include <TarselIO/Exception.h>

namespace Examples
{
namespace
{

constexpr int kWrongUsage = 2;

void WriteToStderr(const std::string& text)
{
    // Not through std::cerr, whose lock may be held by a thread that is stuck while another one reports an error.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

/// The library logs each step of its pipes. A program decides what is shown of that.
void StartLog(const char* program, bool verbose)
{
    FLAGS_logtostderr = true;
    FLAGS_minloglevel = verbose ? google::GLOG_INFO : google::GLOG_FATAL;
    google::InitGoogleLogging(program);
}

int Fail(int status, const std::string& text)
{
    ReportError(text);
    return status;
}

int FinishOutput()
{
    std::cout.flush();
    return std::cout ? EXIT_SUCCESS : Fail(EXIT_FAILURE, "cannot write to standard output");
}

/// What a reader of one line wants to know: which file, what went wrong, and the system's reason.
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

int RunProgram(int argc,
               char** argv,
               const ProgramInfo& info,
               const std::function<void(const std::vector<std::string>& operands)>& body)
{
    static constexpr option kOptions[] = {
        {"help", no_argument, nullptr, 'h'}, {"verbose", no_argument, nullptr, 'v'}, {nullptr, 0, nullptr, 0}};
    bool verbose = false;
    for (int choice = 0; (choice = ::getopt_long(argc, argv, "hv", kOptions, nullptr)) != -1;)
    {
        if (choice == 'h')
        {
            std::cout << info.help;
            return FinishOutput();
        }
        if (choice != 'v')
        {
            return Fail(kWrongUsage, "try --help");  // getopt_long has said what is wrong
        }
        verbose = true;
    }
    const std::vector<std::string> operands(argv + optind, argv + argc);
    if (operands.size() < info.minOperands || operands.size() > info.maxOperands)
    {
        return Fail(kWrongUsage, "wrong number of file names, try --help");
    }

    StartLog(argv[0], verbose);
    try
    {
        body(operands);
        return FinishOutput();
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
    WriteToStderr(overProgressBar + std::string(program_invocation_short_name) + ": " + text + "\n");
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
