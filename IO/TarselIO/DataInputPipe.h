#pragma once

#include <memory>
#include <optional>
#include <string>

#include <TarselIO/IByteDataInputEx.h>
#include <TarselIO/IByteDataInputProtocol.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// The reading end of a named pipe (POSIX FIFO), which exists already when it is opened. One thread at a time reads it.
/// Bytes go from the system call straight into the caller's memory, at most 1024 at a time. Every step writes a line to
/// the process log (glog).
///
/// Opening a pipe sets SIGPIPE to ignored for the whole process and for good, so that writing to a pipe without a
/// reader fails instead of ending the process.
class TARSEL_EXPORT DataInputPipe : public virtual IByteDataInputEx
{
public:
    /// Opens the pipe `name` with a ByteDataInputDefaultProtocol. Blocks until another process opens it for writing; a
    /// signal does not end the wait. The `bool` has no effect.
    /// Throws IOException when the pipe cannot be opened, with TagDescription, TagSystemErrorCode (errno) and
    /// TagDetails (the system's error text).
    static SP<IByteDataInputEx> Create(const std::string& name, bool);

    /// The same with a protocol of the caller's, which is not null and is bound to the pipe once that is open.
    static SP<IByteDataInputEx> Create(const std::string& name, std::unique_ptr<IByteDataInputProtocol> protocol, bool);

    /// A pipe around a native handle, which nothing takes a descriptor from yet: its reads fail with EBADF. Opens and
    /// logs nothing.
    static SP<IByteDataInputEx> Create(void* handle, std::unique_ptr<IByteDataInputProtocol> protocol);

    /// Opens the pipe for the named factories, which callers use. No protocol is installed.
    DataInputPipe(const std::string& name, bool);

    /// A pipe without a descriptor, for the factory that takes a handle. No protocol is installed.
    explicit DataInputPipe(void* handle);

    /// Closes the descriptor. A failure to do so is logged.
    ~DataInputPipe() override;

    /// Takes over `protocol` and destroys the one before. The caller binds it: `protocol->SetByteDataInput(pipe)`.
    void SetProtocol(std::unique_ptr<IByteDataInputProtocol> protocol);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// What the protocol makes of the request. Without a protocol: 0, and an ERROR line in the log.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// Does nothing: a blocked read ends when the other process writes or closes its end.
    void Cancel() override;

    // IByteDataInputEx

    /// Reads until all of `size` has arrived. Blocks for data; a signal does not end the wait. End of file (every
    /// writer has closed its end) and a failed call are logged and end the request; later requests try again.
    bool ReadRaw(uint8_t* data, ioSize size, ioSize* done) override;

    ioSize GetMaxReadSizeAtTime() override;  ///< always 1024

private:
    static SP<IByteDataInputEx> Install(const SP<DataInputPipe>& pipe,
                                        std::unique_ptr<IByteDataInputProtocol> protocol);
    std::optional<ioSize> ReadChunk(uint8_t* data, ioSize size);

    RefCountImpl m_refCount;
    std::unique_ptr<IByteDataInputProtocol> m_protocol;
    int m_descriptor;
    ioSize m_chunkSize;
};

}  // namespace Tarsel::Core
