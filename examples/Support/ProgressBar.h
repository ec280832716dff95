#pragma once

#include <iostream>
#include <string>
#include <unistd.h>

#include <Support/Program.h>
#include <TarselIO/ioSize.h>

namespace Examples
{

/// A bar on stderr that shows how much of `total` is done. It is shown only if stderr is a terminal and the log is not
/// shown there. The destructor erases it.
class ProgressBar
{
public:
    explicit ProgressBar(Tarsel::Core::ioSize total)
        : m_shown(::isatty(STDERR_FILENO) == 1 && !IsVerbose()), m_total(static_cast<double>(total))
    {
    }
    ~ProgressBar() { Show("\r\033[K"); }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Advance(Tarsel::Core::ioSize amount)
    {
        m_done += static_cast<double>(amount);
        const auto percent = static_cast<std::size_t>(m_done < m_total ? 100 * m_done / m_total : 100);
        if (percent != m_percent)
        {
            m_percent = percent;
            const std::string bar(percent * kWidth / 100, '#');
            Show("\r[" + bar + std::string(kWidth - bar.size(), ' ') + "] " + std::to_string(percent) + " %");
        }
    }

private:
    static constexpr std::size_t kWidth = 40;

    void Show(const std::string& text) const { std::cerr << (m_shown ? text : ""); }

    const bool m_shown;
    const double m_total;
    double m_done = 0;
    std::size_t m_percent = 0;
};

}  // namespace Examples
