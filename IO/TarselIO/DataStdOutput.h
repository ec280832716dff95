#pragma once

#include <TarselIO/IByteDataOutput.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// The process's standard output as a byte output, which forwards to its output side. No system handle is supplied yet,
/// so Create returns null; a program that wants its real standard output constructs the endpoint and gives it a pipe
/// opened on "/dev/stdout" through SetOutputPipe. One thread at a time uses it; Cancel does nothing.
class TARSEL_EXPORT DataStdOutput : public virtual IByteDataOutput
{
public:
    /// Builds the endpoint around the process's standard-output handle with a ByteDataOutputRawProtocol;
    /// `maxSizeAtTime` receives its transfer limit in bytes. Returns null, and leaves `maxSizeAtTime` alone, when there
    /// is no handle.
    static SP<IByteDataOutput> Create(unsigned long& maxSizeAtTime);

    /// An endpoint without a side and without a handle.
    DataStdOutput();
    ~DataStdOutput() override;

    /// The native handle, null while there is none.
    void* GetPipeHandle();

    /// Installs the side that is written to, or removes it with null. Not while the endpoint is in use.
    void SetOutputPipe(SP<IByteDataOutput> output);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// The side's Write. Without a side: 0, and an ERROR line in the log.
    ioSize Write(const uint8_t* data, ioSize size) override;

private:
    RefCountImpl m_refCount;
    SP<IByteDataOutput> m_output;
    void* m_pipeHandle;
};

}  // namespace Tarsel::Core
