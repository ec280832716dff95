#pragma once

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <system_error>
#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
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

/// Any connected stream socket, Unix-domain or TCP.
using Socket = asio::generic::stream_protocol::socket;

/// One direction of a connection. `Stream` is a Socket or, for pipes, an asio::posix::stream_descriptor.
///
/// Each transfer runs in a context of its own, on the thread that asks for it. So Cancel can give that thread something
/// to do from any other one, which wakes it at once.
template <class Stream>
class Transfers
{
public:
    /// The arguments name a descriptor, which this takes over.
    template <class... Arguments>
    explicit Transfers(Arguments&&... arguments) : m_stream(m_context, std::forward<Arguments>(arguments)...)
    {
    }

    /// Runs what `start(stream, condition, handler)` begins and returns how many bytes it moved.
    template <class Start>
    Tarsel::Core::ioSize Run(Start start)
    {
        std::size_t moved = 0;
        const auto condition = [this](const boost::system::error_code& error, std::size_t /*done*/) -> std::size_t
        { return error || m_cancelled ? 0 : kChunk; };
        const auto handler = [&moved](const boost::system::error_code& error, std::size_t done)
        {
            moved = done;
            LOG_IF(INFO, error) << "A transfer ended after " << done << " bytes: " << error.message();
        };
        if (!m_cancelled)
        {
            start(m_stream, condition, handler);
            m_context.restart();
            m_context.run();
        }
        return moved;
    }

    /// Ends a transfer that runs and makes all later ones move nothing.
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

    asio::io_context m_context;
    Stream m_stream;
    bool m_cancelled = false;  // used by the thread that runs the context alone
};

/// Reads until all has come that was asked for, as a channel needs it.
template <class Stream>
class AsioInput : public Tarsel::RefCounted<Tarsel::Core::IByteDataInput>
{
public:
    template <class... Arguments>
    explicit AsioInput(Arguments&&... arguments) : m_transfers(std::forward<Arguments>(arguments)...)
    {
    }

    /// Less than `size` at the end, after a failure, which the log tells, and after Cancel.
    Tarsel::Core::ioSize Read(uint8_t* data, Tarsel::Core::ioSize size) override
    {
        return m_transfers.Run([&](Stream& stream, auto condition, auto handler)
                               { asio::async_read(stream, asio::buffer(data, size), condition, handler); });
    }

    void Cancel() override { m_transfers.Cancel(); }

private:
    Transfers<Stream> m_transfers;
};

template <class Stream>
class AsioOutput : public Tarsel::RefCounted<Tarsel::Core::IByteDataOutput>
{
public:
    template <class... Arguments>
    explicit AsioOutput(Arguments&&... arguments) : m_transfers(std::forward<Arguments>(arguments)...)
    {
    }

    /// Less than `size` after a failure, which the log tells, and after Cancel.
    Tarsel::Core::ioSize Write(const uint8_t* data, Tarsel::Core::ioSize size) override
    {
        return m_transfers.Run([&](Stream& stream, auto condition, auto handler)
                               { asio::async_write(stream, asio::buffer(data, size), condition, handler); });
    }

    void Cancel() override { m_transfers.Cancel(); }

private:
    Transfers<Stream> m_transfers;
};

/// What a channel is made of.
struct ByteStreams
{
    Tarsel::SP<Tarsel::Core::IByteDataInput> input;
    Tarsel::SP<Tarsel::Core::IByteDataOutput> output;
};

/// Takes a connected socket apart into its two directions, each with a descriptor of its own: one socket object must
/// not be used by two threads at once.
inline ByteStreams Split(Socket socket)
{
    const auto protocol = socket.local_endpoint().protocol();
    if (protocol.family() != AF_UNIX)
    {
        // A message is two writes. The second must not wait until the other side has acknowledged the first.
        socket.set_option(asio::ip::tcp::no_delay(true));
    }
    const int copy = ::fcntl(socket.native_handle(), F_DUPFD_CLOEXEC, 0);
    if (copy == -1)
    {
        throw std::system_error(errno, std::generic_category(), "cannot copy a descriptor");
    }
    return {Tarsel::SP<Tarsel::Core::IByteDataInput>(new AsioInput<Socket>(protocol, copy)),
            Tarsel::SP<Tarsel::Core::IByteDataOutput>(new AsioOutput<Socket>(protocol, socket.release()))};
}

}  // namespace Examples
