#pragma once

#include <memory>
#include <optional>
#include <string>

#include <TarselIO/IByteDataOutputEx.h>
#include <TarselIO/IByteDataOutputProtocol.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// The writing end of a named pipe (POSIX FIFO), which exists already when it is opened. One thread at a time writes
/// it. Bytes go from the caller's memory straight into the system call, at most 1024 at a time. Every step writes a
/// line to the process log (glog).
///
/// Opening a pipe sets SIGPIPE to ignored for the whole process and for good, so that writing to a pipe without a
/// reader fails instead of ending the process.
class TARSEL_EXPORT DataOutputPipe : public virtual IByteDataOutputEx
{
public:
    /// Opens the pipe `name` with a ByteDataOutputDefaultProtocol. Blocks until another process opens it for reading; a
    /// signal does not end the wait. The `bool` has no effect.
    /// Throws IOException when the pipe cannot be opened, with TagDescription, TagSystemErrorCode (errno) and
    /// TagDetails (the system's error text).
    static SP<IByteDataOutputEx> Create(const std::string& name, bool);

    /// The same with a protocol of the caller's, which is not null and is bound to the pipe once that is open.
    static SP<IByteDataOutputEx> Create(const std::string& name,
                                        std::unique_ptr<IByteDataOutputProtocol> protocol,
                                        bool);

    /// A pipe around a native handle, which nothing takes a descriptor from yet: its writes fail with EBADF. Opens and
    /// logs nothing.
    static SP<IByteDataOutputEx> Create(void* handle, std::unique_ptr<IByteDataOutputProtocol> protocol);

    /// Opens the pipe for the named factories, which callers use. No protocol is installed.
    DataOutputPipe(const std::string& name, bool);

    /// A pipe without a descriptor, for the factory that takes a handle. No protocol is installed.
    explicit DataOutputPipe(void* handle);

    /// Closes the descriptor. A failure to do so is logged.
    ~DataOutputPipe() override;

    /// Takes over `protocol` and destroys the one before. The caller binds it: `protocol->SetByteDataOutput(pipe)`.
    void SetProtocol(std::unique_ptr<IByteDataOutputProtocol> protocol);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// What the protocol makes of the request. Without a protocol: 0, and an ERROR line in the log.
    ioSize Write(const uint8_t* data, ioSize size) override;

    /// Does nothing: a blocked write ends when the other process reads or closes its end.
    void Cancel() override;

    // IByteDataOutputEx

    /// Writes until all of `size` has gone out. Blocks while the pipe is full; a signal does not end the wait. A
    /// failed call (EPIPE once no reader is left) is logged and ends the request; later requests try again.
    bool WriteRaw(const uint8_t* data, ioSize size, ioSize* done) override;

    ioSize GetMaxWriteSizeAtTime() override;  ///< always 1024

private:
    static SP<IByteDataOutputEx> Install(const SP<DataOutputPipe>& pipe,
                                         std::unique_ptr<IByteDataOutputProtocol> protocol);
    std::optional<ioSize> WriteChunk(const uint8_t* data, ioSize size);

    RefCountImpl m_refCount;
    std::unique_ptr<IByteDataOutputProtocol> m_protocol;
    int m_descriptor;
    ioSize m_chunkSize;
};

}  // namespace Tarsel::Core
