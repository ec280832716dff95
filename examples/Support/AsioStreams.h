#pragma once

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <glog/logging.h>

#include <TarselIO/IByteDataInput.h>
#include <TarselIO/IByteDataOutput.h>
#include <TarselPointer/RefCounted.h>
#include <TarselPointer/SP.h>

namespace Examples
{

namespace asio = boost::asio;
using Tarsel::Core::ioSize;

/// Returns the result of a system call, or throws if it failed.
inline int Checked(int result)
{
    return result != -1 ? result : throw std::system_error(errno, std::generic_category());
}

/// One direction of a connected socket or a pipe. It has its own context, in which the calling thread runs each
/// transfer. Any other thread can post work to that context, which wakes the calling thread at once.
class Transfers
{
public:
    /// Takes ownership of the descriptor, even if it throws.
    explicit Transfers(int descriptor)
    try : m_stream(m_context, descriptor)
    {
    }
    catch (...)
    {
        ::close(descriptor);
        throw;
    }

    /// Runs the transfer that `start(stream, condition, handler)` begins and returns how many bytes it moved. A short
    /// count means that the other side has closed its end, or that Cancel was called. Throws std::system_error on
    /// failure.
    template <class Start>
    ioSize Run(Start start)
    {
        ioSize moved = 0;
        boost::system::error_code failure;
        const auto condition = [this](const boost::system::error_code& error, std::size_t /*done*/) -> std::size_t
        { return error || m_cancelled ? 0 : kChunk; };
        const auto handler = [&](const boost::system::error_code& error, std::size_t done)
        {
            moved = done;
            failure = error;
        };
        if (!m_cancelled)
        {
            start(m_stream, condition, handler);
            m_context.restart();
            m_context.run();
        }
        LOG_IF(INFO, failure) << "A transfer ended after " << moved << " bytes: " << failure.message();
        if (failure && !IsEnd(failure))
        {
            throw std::system_error(failure.value(), std::generic_category(), "the connection has failed");
        }
        return moved;
    }

    /// Ends a running transfer and makes all later ones move nothing. Any thread may call it.
    void Cancel()
    {
        asio::post(m_context,
                   [this]
                   {
                       m_cancelled = true;
                       m_stream.cancel();
                   });
    }

private:
    static constexpr std::size_t kChunk = 65536;

    static bool IsEnd(const boost::system::error_code& error)
    {
        return error == asio::error::eof || error == asio::error::operation_aborted ||
               error == asio::error::broken_pipe || error == asio::error::connection_reset;
    }

    asio::io_context m_context;
    asio::posix::stream_descriptor m_stream;
    bool m_cancelled = false;  // used only by the thread that runs the context
};

/// Reads until it has all that was asked for, as a channel needs it. Returns a short count at the end and after Cancel;
/// the log shows which it was. Throws std::system_error on failure.
class AsioInput : public Tarsel::RefCounted<Tarsel::Core::IByteDataInput>
{
public:
    explicit AsioInput(int descriptor) : m_transfers(descriptor) {}

    ioSize Read(uint8_t* data, ioSize size) override
    {
        return m_transfers.Run([&](auto& stream, auto condition, auto handler)
                               { asio::async_read(stream, asio::buffer(data, size), condition, handler); });
    }

    void Cancel() override { m_transfers.Cancel(); }

private:
    Transfers m_transfers;
};

/// The other direction. Like the library's pipes it sets SIGPIPE to ignored, so that a write without a reader fails.
class AsioOutput : public Tarsel::RefCounted<Tarsel::Core::IByteDataOutput>
{
public:
    explicit AsioOutput(int descriptor) : m_transfers(descriptor) { std::signal(SIGPIPE, SIG_IGN); }

    ioSize Write(const uint8_t* data, ioSize size) override
    {
        return m_transfers.Run([&](auto& stream, auto condition, auto handler)
                               { asio::async_write(stream, asio::buffer(data, size), condition, handler); });
    }

    void Cancel() override { m_transfers.Cancel(); }

private:
    Transfers m_transfers;
};

/// The two byte streams that a channel is made of.
struct ByteStreams
{
    Tarsel::SP<Tarsel::Core::IByteDataInput> input;
    Tarsel::SP<Tarsel::Core::IByteDataOutput> output;
};

/// Takes ownership of a connected socket and makes its two directions, each with its own descriptor.
inline ByteStreams Split(int descriptor)
{
    // First, so that the descriptor has an owner before anything else can fail.
    const Tarsel::SP<AsioOutput> output(new AsioOutput(descriptor));
    const int copy = Checked(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
    return {Tarsel::SP<AsioInput>(new AsioInput(copy)), output};
}

}  // namespace Examples
