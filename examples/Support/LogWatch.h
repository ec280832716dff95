#pragma once

#include <cstddef>
#include <mutex>
#include <string>

#include <glog/logging.h>

namespace Examples
{

/// Remembers the last warning or error in the log, whether the log is shown or not. A pipe returns a short count both
/// at the end of the data and when it fails; only the log shows which it was, and why. Any thread may call LastError.
/// The line does not name the pipe: a program with several pipes has to know which one it used.
class LogWatch : private google::LogSink
{
public:
    LogWatch();
    ~LogWatch() override;
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// Returns the text of that line if it is an error, otherwise an empty string: the end of the data is only a
    /// warning.
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
