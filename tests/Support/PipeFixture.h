#pragma once

#include <algorithm>
#include <fcntl.h>
#include <random>
#include <unistd.h>

#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataOutputPipe.h>
#include <gmock/gmock.h>

#include "Support/LogCapture.h"
#include "Support/TemporaryDirectory.h"

using Tarsel::Core::ioSize;

/// What differs between a pipe's two ends.
struct InputEnd
{
    using Pipe = Tarsel::Core::DataInputPipe;
    using Endpoint = Tarsel::Core::IByteDataInputEx;
    static constexpr bool kReads = true;
    static constexpr auto kMove = &Endpoint::Read;
    static constexpr auto kRaw = &Endpoint::ReadRaw;
    static constexpr auto kLimit = &Endpoint::GetMaxReadSizeAtTime;
    static inline const std::string kClass = "DataInputPipe";
    static inline const std::string kPipe = "input pipe";
    static inline const std::string kCall = "read";
    static inline const std::string kFrom = " bytes from the input pipe\n";
    static inline const std::string kDone = " bytes have been read\n";
    static inline const std::string kFailed = "E Read failed, errno == ";
};

struct OutputEnd
{
    using Pipe = Tarsel::Core::DataOutputPipe;
    using Endpoint = Tarsel::Core::IByteDataOutputEx;
    static constexpr bool kReads = false;
    static constexpr auto kMove = &Endpoint::Write;
    static constexpr auto kRaw = &Endpoint::WriteRaw;
    static constexpr auto kLimit = &Endpoint::GetMaxWriteSizeAtTime;
    static inline const std::string kClass = "DataOutputPipe";
    static inline const std::string kPipe = "output pipe";
    static inline const std::string kCall = "write";
    static inline const std::string kFrom = " bytes to the output pipe\n";
    static inline const std::string kDone = " bytes have been written\n";
    static inline const std::string kFailed = "E Write failed, errno == ";
};

/// A named pipe with both ends in this process: `pipe` is the library's; `other` is open both ways, so no open waits.
template <class End>
struct PipeFixture : testing::Test
{
    PipeFixture() : sent(2500), received(2500)
    {
        std::generate(sent.begin(), sent.end(), std::minstd_rand());
        Attach();
    }
    ~PipeFixture() override { Detach(); }

    void Attach() { other = ::open(name.c_str(), O_RDWR); }
    void Detach() { ::close(std::exchange(other, -1)); }
    void Send(ioSize from, ioSize to) { EXPECT_EQ(::write(other, &sent[from], to - from), to - from); }

    /// Provides `size` bytes for the library's end to read; checks that the bytes it moved have arrived.
    void Provide(ioSize size) { End::kReads ? Send(0, size) : void(); }
    bool Arrived(ioSize size)
    {
        const ssize_t taken = End::kReads ? 0 : ::read(other, received.data(), size);
        return taken >= 0 && std::equal(sent.data(), sent.data() + size, received.data());
    }

    void Open()
    {
        pipe = End::Pipe::Create(name, true);
        log.Take();  // only one test checks these lines
    }

    uint8_t* Data() { return End::kReads ? received.data() : sent.data(); }
    ioSize Move(ioSize size) { return std::invoke(End::kMove, *pipe, Data(), size); }
    std::pair<bool, ioSize> Raw(ioSize size) { return {std::invoke(End::kRaw, *pipe, Data(), size, &done), done}; }

    /// Returns the lines since the last call. Each begins with its severity's letter and ends with a newline.
    std::string Lines()
    {
        std::string lines;
        for (const LogLine& line : log.Take())
        {
            EXPECT_EQ(line.file, "IO/TarselIO/" + End::kClass + ".cpp");
            lines += line.severity + (' ' + line.text) + '\n';
        }
        return lines;
    }

    static std::string Trying(const std::string& n) { return "I Trying to " + End::kCall + ' ' + n + End::kFrom; }
    static std::string Step(const std::string& n, const std::string& m) { return Trying(n) + "I " + m + End::kDone; }
    static std::string Failed(const std::string& n, const std::string& error, const std::string& why)
    {
        const std::string more = End::kReads ? "E The read syscall failed, reason: " + why + '\n' : "";
        return Trying(n) + End::kFailed + error + ", descrption:" + why + '\n' + more;
    }

    const std::string closing = "I Closing " + End::kPipe + '\n';
    const std::string notClosed = "W Failed to close descriptor of an " + End::kPipe + '\n';
    std::vector<uint8_t> sent;
    std::vector<uint8_t> received;
    ioSize done = 77;
    TemporaryDirectory directory;
    const std::string name = directory.Fifo("pipe");
    int other = -1;
    LogCapture log;
    Tarsel::SP<typename End::Endpoint> pipe;
};

using Ends = testing::Types<InputEnd, OutputEnd>;
