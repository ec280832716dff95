#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <utility>

#include "rows/Row.h"

namespace Bench
{

// Each function adds the contenders of one other library to the rows where you would use it instead of ours. Only the
// libraries that were found at configure time are linked. Boost means Iostreams for streams and Interprocess for
// messages; socket means a local socket.
void AddStdPeers();
void AddSocketPeers();
void AddBoostPeers();
void AddPocoPeers();
void AddQtPeers();
void AddKjPeers();
void AddZeroMqPeers();
void AddNanomsgPeers();

inline char* AsChars(uint8_t* data)
{
    return reinterpret_cast<char*>(data);
}

inline const char* AsChars(const uint8_t* data)
{
    return reinterpret_cast<const char*>(data);
}

/// Any std::istream with the operations that the measures need, without another virtual call.
template <class Stream>
class IoStreamInput
{
public:
    template <class... Arguments>
    explicit IoStreamInput(Arguments&&... arguments) : m_stream(std::forward<Arguments>(arguments)...)
    {
    }

    ioSize Read(uint8_t* data, ioSize size)
    {
        m_stream.read(AsChars(data), static_cast<std::streamsize>(size));
        return static_cast<ioSize>(m_stream.gcount());
    }

    void SetPosition(ioSize position)
    {
        m_stream.clear();
        m_stream.seekg(static_cast<std::streamoff>(position), std::ios::beg);
    }

private:
    Stream m_stream;
};

/// Any std::ostream. With `Flushes`, each Write reaches the operating system.
template <class Stream, bool Flushes = false>
class IoStreamOutput
{
public:
    template <class... Arguments>
    explicit IoStreamOutput(Arguments&&... arguments) : m_stream(std::forward<Arguments>(arguments)...)
    {
    }

    ioSize Write(const uint8_t* data, ioSize size)
    {
        m_stream.write(AsChars(data), static_cast<std::streamsize>(size));
        if constexpr (Flushes)
        {
            m_stream.flush();
        }
        return m_stream.good() ? size : 0;
    }

    void SetPosition(ioSize position) { m_stream.seekp(static_cast<std::streamoff>(position), std::ios::beg); }

protected:
    Stream& Get() { return m_stream; }

private:
    Stream m_stream;
};

/// A std::ostream over a block of memory, which it overwrites.
template <class Stream>
class BlockOutput : private std::string, public IoStreamOutput<Stream>
{
public:
    explicit BlockOutput(ioSize size)
        : std::string(size, '\0'), IoStreamOutput<Stream>(data(), static_cast<std::streamsize>(size))
    {
    }
};

}  // namespace Bench
