#pragma once

#include <cstddef>
#include <string>

#include <glog/logging.h>

namespace Examples
{

/// Looks at the log, whether it is shown or not, for the last line that is more than information. A pipe comes short in
/// the same way at the end of the data and when it fails; only the log tells which it was, and why. For programs in
/// which one thread uses all pipes.
class LogWatch : private google::LogSink
{
public:
    LogWatch();
    ~LogWatch() override;
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// The text of that line if it tells of an error, otherwise empty: the end of the data is only a warning.
    const std::string& LastError() const { return m_lastError; }

private:
    void send(google::LogSeverity severity,
              const char* fullFilename,
              const char* baseFilename,
              int line,
              const google::LogMessageTime& time,
              const char* message,
              std::size_t length) override;

    std::string m_lastError;
};

}  // namespace Examples
