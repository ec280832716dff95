#include <QtCore/QBuffer>
#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QSharedPointer>
#include <memory>
#include <string>

#include "peers/Peers.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

constexpr char kPeer[] = "Qt";

/// What QBuffer and QFile share.
ioSize ReadFrom(QIODevice& device, uint8_t* data, ioSize size)
{
    return static_cast<ioSize>(device.read(AsChars(data), static_cast<qint64>(size)));
}

ioSize WriteTo(QIODevice& device, const uint8_t* data, ioSize size)
{
    return static_cast<ioSize>(device.write(AsChars(data), static_cast<qint64>(size)));
}

class MemoryInput
{
public:
    MemoryInput(const uint8_t* data, ioSize size)
    {
        m_buffer.setData(QByteArray::fromRawData(AsChars(data), static_cast<int>(size)));
        m_buffer.open(QIODevice::ReadOnly);
    }
    ioSize Read(uint8_t* data, ioSize size) { return ReadFrom(m_buffer, data, size); }
    void SetPosition(ioSize position) { m_buffer.seek(static_cast<qint64>(position)); }

private:
    QBuffer m_buffer;
};

class MemoryOutput
{
public:
    explicit MemoryOutput(ioSize size)
    {
        m_buffer.setData(QByteArray(static_cast<int>(size), '\0'));
        m_buffer.open(QIODevice::ReadWrite);
    }
    ioSize Write(const uint8_t* data, ioSize size) { return WriteTo(m_buffer, data, size); }
    void SetPosition(ioSize position) { m_buffer.seek(static_cast<qint64>(position)); }
    void Clear()
    {
        m_buffer.seek(0);
        m_buffer.buffer().resize(0);
    }

private:
    QBuffer m_buffer;
};

class FileInput
{
public:
    explicit FileInput(const std::string& path) : m_file(QString::fromStdString(path))
    {
        m_file.open(QIODevice::ReadOnly);
    }
    ioSize Read(uint8_t* data, ioSize size) { return ReadFrom(m_file, data, size); }
    void SetPosition(ioSize position) { m_file.seek(static_cast<qint64>(position)); }

private:
    QFile m_file;
};

class FileOutput
{
public:
    explicit FileOutput(const std::string& path) : m_file(QString::fromStdString(path))
    {
        m_file.open(QIODevice::WriteOnly);
    }
    ioSize Write(const uint8_t* data, ioSize size)
    {
        const ioSize written = WriteTo(m_file, data, size);
        return m_file.flush() ? written : 0;
    }
    void SetPosition(ioSize position) { m_file.seek(static_cast<qint64>(position)); }

private:
    QFile m_file;
};

}  // namespace

void AddQtPeers()
{
    AddMemoryPeer<MemoryInput>(kPeer);
    AddStringPeer<MemoryOutput>(kStringAppend, kPeer, [](const auto& stream) { stream->Clear(); });
    AddStringPeer<MemoryOutput>(kStringOverwrite, kPeer, kRewind);
    AddFilePeer<FileInput, FileOutput>(kPeer);
    AddWholePeers<MemoryInput, MemoryOutput>(kPeer);
    AddDigestPeer<MemoryInput>(kPeer,
                               [](const std::vector<uint8_t>& buffer)
                               {
                                   const auto data =
                                       QByteArray::fromRawData(AsChars(buffer.data()), static_cast<int>(buffer.size()));
                                   return QCryptographicHash::hash(data, QCryptographicHash::Md5).at(0);
                               });
    AddPeer(kMakeRow, kPeer, Making([] { return std::make_unique<MemoryInput>(SampleBytes(), kKiB); }));
    AddPeer(kCopyRow, kPeer, Copying([] { return QSharedPointer<int>::create(0); }));
}

}  // namespace Bench
