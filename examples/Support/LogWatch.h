#pragma once

#include <cstddef>
#include <mutex>
#include <string>

#include <glog/logging.h>

namespace Examples
{

/// Looks at the log, whether it is shown or not, for the last line that is more than information. A pipe comes short in
/// the same way at the end of the data and when it fails; only the log shows which it was, and why. May be asked by any
/// thread; which of a program's pipes the line is about, the program has to know.
class LogWatch : private google::LogSink
{
public:
    LogWatch();
    ~LogWatch() override;
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// The text of that line if it tells of an error, otherwise empty: the end of the data is only a warning.
    std::string LastError() const;

private:
    void send(google::LogSeverity severity,
              const char* fullFilename,
              const char* baseFilename,
              int line,
              const google::LogMessageTime& time,
              const char* message,
              std::size_t length) override;

    mutable std::mutex m_mutex;
    std::string m_lastError;  // guarded by m_mutex
};

}  // namespace Examples
