#pragma once

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <unistd.h>
#include <utility>

#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataOutputPipe.h>
#include <gtest/gtest.h>

#include "Support/LogCapture.h"
#include "Support/TemporaryDirectory.h"

using Tarsel::Core::ioSize;

/// What a pipe's two ends have of their own. Lines begin with their severity's letter and end with a newline.
struct InputEnd
{
    using Pipe = Tarsel::Core::DataInputPipe;
    using Endpoint = Tarsel::Core::IByteDataInputEx;
    static constexpr bool kReads = true;
    static constexpr auto kCall = "read";
    static constexpr auto kOpenCall = "open(0) = ok";
    static constexpr auto kFile = "IO/TarselIO/DataInputPipe.cpp";
    static constexpr auto kThrower = "Tarsel::Core::DataInputPipe::DataInputPipe(const std::string &, bool)";
    static constexpr auto kDescription = "Failed to open input pipe";
    static constexpr auto kNotOpened = "E Failed to open the input pipe ";
    static constexpr auto kOpened = " has been opened for reading successfully, id == ";
    static constexpr auto kFailed = "Read failed, errno == ";
    static constexpr auto kAgain = "I The read syscall has been interrupted. Trying to read again...\n";
    static constexpr auto kEnd = "W The read syscall returned EOF. The other process probably has crashed.\n";
    static constexpr auto kClosing = "I Closing input pipe\n";
    static constexpr auto kNotClosed = "W Failed to close descriptor of an input pipe\n";
    static std::string Trying(const std::string& n) { return "I Trying to read " + n + " bytes from the input pipe\n"; }
    static std::string Done(const std::string& n) { return "I " + n + " bytes have been read\n"; }
    static std::string GaveUp(const std::string& why) { return "E The read syscall failed, reason: " + why + "\n"; }

    static ioSize Move(Endpoint& pipe, uint8_t* data, ioSize size) { return pipe.Read(data, size); }
    static bool Raw(Endpoint& pipe, uint8_t* data, ioSize size, ioSize* done) { return pipe.ReadRaw(data, size, done); }
    static ioSize Limit(Endpoint& pipe) { return pipe.GetMaxReadSizeAtTime(); }
};

struct OutputEnd
{
    using Pipe = Tarsel::Core::DataOutputPipe;
    using Endpoint = Tarsel::Core::IByteDataOutputEx;
    static constexpr bool kReads = false;
    static constexpr auto kCall = "write";
    static constexpr auto kOpenCall = "open(1) = ok";
    static constexpr auto kFile = "IO/TarselIO/DataOutputPipe.cpp";
    static constexpr auto kThrower = "Tarsel::Core::DataOutputPipe::DataOutputPipe(const std::string &, bool)";
    static constexpr auto kDescription = "Failed to open output pipe";
    static constexpr auto kNotOpened = "E Failed to open the output pipe ";
    static constexpr auto kOpened = " has been opened for writing successfully, id == ";
    static constexpr auto kFailed = "Write failed, errno == ";
    static constexpr auto kAgain = "I The write syscall has been interrupted. Trying to write again...\n";
    static constexpr auto kClosing = "I Closing output pipe\n";
    static constexpr auto kNotClosed = "W Failed to close descriptor of an output pipe\n";
    static std::string Trying(const std::string& n) { return "I Trying to write " + n + " bytes to the output pipe\n"; }
    static std::string Done(const std::string& n) { return "I " + n + " bytes have been written\n"; }
    static std::string GaveUp(const std::string& /*why*/) { return ""; }

    static ioSize Move(Endpoint& pipe, uint8_t* data, ioSize size) { return pipe.Write(data, size); }
    static bool Raw(Endpoint& pipe, uint8_t* data, ioSize size, ioSize* done)
    {
        return pipe.WriteRaw(data, size, done);
    }
    static ioSize Limit(Endpoint& pipe) { return pipe.GetMaxWriteSizeAtTime(); }
};

/// A named pipe with both its ends in this process: `pipe` is the library's; `other` is open in both directions, so
/// that nobody waits for it, and can send, receive and go.
template <class End>
struct PipeFixture : testing::Test
{
    using Moved = std::pair<bool, ioSize>;

    PipeFixture() : sent(2500), received(2500)
    {
        std::generate(sent.begin(), sent.end(), std::minstd_rand());
        std::signal(SIGPIPE, SIG_DFL);
        Attach();
    }
    ~PipeFixture() override { Detach(); }

    void Attach() { other = ::open(name.c_str(), O_RDWR); }
    void Detach() { ::close(std::exchange(other, -1)); }
    void Send(ioSize from, ioSize to) { EXPECT_EQ(::write(other, &sent[from], to - from), to - from); }
    void Receive(ioSize size) { EXPECT_EQ(::read(other, received.data(), size), size); }

    /// Has `size` bytes ready for the library's end to read; whether what it moved has got across.
    void Provide(ioSize size) { End::kReads ? Send(0, size) : void(); }
    bool Arrived(ioSize size)
    {
        End::kReads ? void() : Receive(size);
        return std::equal(sent.data(), sent.data() + size, received.data());
    }

    /// Opens the library's end and forgets what it logs about that.
    void Open()
    {
        pipe = End::Pipe::Create(name, true);
        log.Take();
    }

    ioSize Move(ioSize size) { return End::Move(*pipe, Data(), size); }

    /// Makes a raw transfer and returns its result and its count.
    Moved Raw(ioSize size)
    {
        ioSize done = 77;
        const bool all = End::Raw(*pipe, Data(), size, &done);
        return {all, done};
    }

    uint8_t* Data() { return End::kReads ? received.data() : sent.data(); }

    /// The lines since the last time.
    std::string Lines()
    {
        std::string lines;
        for (const LogLine& line : log.Take())
        {
            EXPECT_EQ(line.file, End::kFile);
            lines += std::string(1, line.severity) + ' ' + line.text + '\n';
        }
        return lines;
    }

    static std::string Step(const std::string& n, const std::string& m) { return End::Trying(n) + End::Done(m); }
    static std::string Failed(const std::string& n, const std::string& error, const std::string& why)
    {
        return End::Trying(n) + "E " + End::kFailed + error + ", descrption:" + why + '\n';
    }
    static std::string Interrupted(const std::string& n)
    {
        return Failed(n, "4", "Interrupted system call") + End::kAgain;
    }

    std::vector<uint8_t> sent;
    std::vector<uint8_t> received;
    TemporaryDirectory directory;
    const std::string name = directory.Fifo("pipe");
    int other = -1;
    LogCapture log;
    Tarsel::SP<typename End::Endpoint> pipe;
};

using Ends = testing::Types<InputEnd, OutputEnd>;
