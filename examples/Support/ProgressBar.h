#pragma once

#include <chrono>

#include <TarselIO/ioSize.h>

namespace Examples
{

/// A bar on stderr that shows how much of `total` is done. Only for people: not shown unless stderr is a terminal, nor
/// between the lines of the log. Its end wipes it away.
class ProgressBar
{
public:
    explicit ProgressBar(Tarsel::Core::ioSize total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Advance(Tarsel::Core::ioSize amount);

private:
    using Clock = std::chrono::steady_clock;

    void Draw() const;

    const bool m_shown;
    const Tarsel::Core::ioSize m_total;
    Tarsel::Core::ioSize m_done = 0;
    Clock::time_point m_nextDrawing;
};

}  // namespace Examples
