#pragma once

#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <glog/logging.h>

/// A line of the process log: its severity's letter (I, W, E), its source file from the repository root and its text.
struct LogLine
{
    char severity;
    std::string file;
    std::string text;

    std::string Shown() const { return severity + (' ' + file) + ": " + text; }
    friend bool operator==(const LogLine& left, const LogLine& right) { return left.Shown() == right.Shown(); }
    friend std::ostream& operator<<(std::ostream& stream, const LogLine& line) { return stream << line.Shown(); }
};

/// Collects every line that any thread logs while it is alive.
class LogCapture : private google::LogSink
{
public:
    LogCapture() { google::AddLogSink(this); }
    ~LogCapture() override { google::RemoveLogSink(this); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Returns the lines so far and clears them.
    std::vector<LogLine> Take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_lines, {});
    }

    /// Runs `action` once, while the next line that begins with this text is logged. `action` must not log.
    void When(const std::string& beginning, std::function<void()> action)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_awaited = beginning;
        m_action = std::move(action);
    }

private:
    void send(google::LogSeverity severity,
              const char* fullFilename,
              const char* /*baseFilename*/,
              int /*line*/,
              const google::LogMessageTime& /*time*/,
              const char* message,
              std::size_t length) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back({google::GetLogSeverityName(severity)[0], fullFilename, std::string(message, length)});
        if (m_action && m_lines.back().text.rfind(m_awaited, 0) == 0)
        {
            std::exchange(m_action, nullptr)();
        }
    }

    std::mutex m_mutex;
    std::vector<LogLine> m_lines;
    std::string m_awaited;
    std::function<void()> m_action;
};
