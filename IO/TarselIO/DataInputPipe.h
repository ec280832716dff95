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

/// Reads from a named pipe (POSIX FIFO), which must exist before it is opened. Bytes go from the system call straight
/// into the caller's memory, at most 1024 at a time. Every step writes a line to the process log (glog).
///
/// Opening a pipe sets SIGPIPE to ignored for the whole process, permanently. Writing to a pipe without a reader then
/// fails and does not end the process.
///
/// One thread at a time reads it.
class TARSEL_EXPORT DataInputPipe : public virtual IByteDataInputEx
{
public:
    /// Opens the FIFO `name` with a ByteDataInputDefaultProtocol. The `bool` has no effect.
    ///
    /// Throws IOException if the FIFO cannot be opened, with TagDescription, TagSystemErrorCode (errno) and TagDetails
    /// (the system's error text).
    ///
    /// Blocks until another process opens it for writing. A signal does not end the wait.
    static SP<IByteDataInputEx> Create(const std::string& name, bool);

    /// Does the same with the caller's protocol, which is not null. The protocol is bound to the pipe once the FIFO is
    /// open.
    static SP<IByteDataInputEx> Create(const std::string& name, std::unique_ptr<IByteDataInputProtocol> protocol, bool);

    /// Creates a pipe around a native handle. Nothing takes a descriptor from the handle yet, so reads fail with EBADF.
    /// Opens and logs nothing.
    static SP<IByteDataInputEx> Create(void* handle, std::unique_ptr<IByteDataInputProtocol> protocol);

    /// Use Create instead. This constructor opens the FIFO and installs no protocol.
    DataInputPipe(const std::string& name, bool);

    /// Use Create instead. This constructor makes a pipe without a descriptor and installs no protocol.
    explicit DataInputPipe(void* handle);

    /// Closes the descriptor. A failure to do so is logged.
    ~DataInputPipe() override;

    /// Takes ownership of `protocol` and destroys the previous one. The caller binds it:
    /// `protocol->SetByteDataInput(pipe)`.
    void SetProtocol(std::unique_ptr<IByteDataInputProtocol> protocol);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Returns what the protocol returns for the request. Without a protocol it returns 0 and writes an ERROR line to
    /// the log.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// Does nothing: a blocked read ends when the other process writes or closes its end.
    void Cancel() override;

    // IByteDataInputEx

    /// Reads until all of `size` has arrived. End of file (every writer has closed its end) and a failed call are
    /// logged and end the request. Later requests try again.
    ///
    /// Blocks until data arrives. A signal does not end the wait.
    bool ReadRaw(uint8_t* data, ioSize size, ioSize* done) override;

    ioSize GetMaxReadSizeAtTime() override;  ///< Returns 1024.

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
