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

/// Writes to a named pipe (POSIX FIFO), which must exist before it is opened. Bytes go from the caller's memory
/// straight into the system call, at most 1024 at a time. Every step writes a line to the process log (glog).
///
/// Opening a pipe sets SIGPIPE to ignored for the whole process, permanently. Writing to a pipe without a reader then
/// fails and does not end the process.
///
/// One thread at a time writes it.
class TARSEL_EXPORT DataOutputPipe : public virtual IByteDataOutputEx
{
public:
    /// Opens the FIFO `name` with a ByteDataOutputDefaultProtocol. The `bool` has no effect.
    ///
    /// Throws IOException if the FIFO cannot be opened, with TagDescription, TagSystemErrorCode (errno) and TagDetails
    /// (the system's error text).
    ///
    /// Blocks until another process opens it for reading. A signal does not end the wait.
    static SP<IByteDataOutputEx> Create(const std::string& name, bool);

    /// Does the same with the caller's protocol, which is not null. The protocol is bound to the pipe once the FIFO is
    /// open.
    static SP<IByteDataOutputEx> Create(const std::string& name,
                                        std::unique_ptr<IByteDataOutputProtocol> protocol,
                                        bool);

    /// Creates a pipe around a native handle. Nothing takes a descriptor from the handle yet, so writes fail with
    /// EBADF. Opens and logs nothing.
    static SP<IByteDataOutputEx> Create(void* handle, std::unique_ptr<IByteDataOutputProtocol> protocol);

    /// Use Create instead. This constructor opens the FIFO and installs no protocol.
    DataOutputPipe(const std::string& name, bool);

    /// Use Create instead. This constructor makes a pipe without a descriptor and installs no protocol.
    explicit DataOutputPipe(void* handle);

    /// Closes the descriptor. A failure to do so is logged.
    ~DataOutputPipe() override;

    /// Takes ownership of `protocol` and destroys the previous one. The caller binds it:
    /// `protocol->SetByteDataOutput(pipe)`.
    void SetProtocol(std::unique_ptr<IByteDataOutputProtocol> protocol);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// Returns what the protocol returns for the request. Without a protocol it returns 0 and writes an ERROR line to
    /// the log.
    ioSize Write(const uint8_t* data, ioSize size) override;

    /// Does nothing: a blocked write ends when the other process reads or closes its end.
    void Cancel() override;

    // IByteDataOutputEx

    /// Writes until all of `size` has been written. A failed call (EPIPE once no reader is left) is logged and ends the
    /// request. Later requests try again.
    ///
    /// Blocks while the pipe is full. A signal does not end the wait.
    bool WriteRaw(const uint8_t* data, ioSize size, ioSize* done) override;

    ioSize GetMaxWriteSizeAtTime() override;  ///< Returns 1024.

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
