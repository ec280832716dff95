#include <Support/LogWatch.h>

#include <Support/Program.h>

namespace Examples
{
namespace
{

/// By default a program logs nothing. This makes it log warnings and errors, but only to sinks: nothing is shown or
/// written to a file.
void LogForSinksOnly()
{
    FLAGS_minloglevel = google::GLOG_WARNING;
    FLAGS_logtostderr = false;
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    for (int severity = 0; severity != google::NUM_SEVERITIES; ++severity)
    {
        google::SetLogDestination(severity, "");
    }
}

}  // namespace

LogWatch::LogWatch()
{
    if (!IsVerbose())
    {
        LogForSinksOnly();
    }
    google::AddLogSink(this);
}

LogWatch::~LogWatch()
{
    google::RemoveLogSink(this);
}

std::string LogWatch::LastError() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastError;
}

void LogWatch::send(google::LogSeverity severity,
                    const char* /*fullFilename*/,
                    const char* /*baseFilename*/,
                    int /*line*/,
                    const google::LogMessageTime& /*time*/,
                    const char* message,
                    std::size_t length)
{
    if (severity >= google::GLOG_WARNING)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lastError.assign(message, severity >= google::GLOG_ERROR ? length : 0);
    }
}

}  // namespace Examples
