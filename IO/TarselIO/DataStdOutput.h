#pragma once

#include <TarselIO/IByteDataOutput.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Writes the process's standard output through an output side. No system handle is supplied yet, so Create returns
/// null. If a program needs its real standard output, it constructs the endpoint and gives it a pipe opened on
/// "/dev/stdout" through SetOutputPipe. Cancel does nothing.
///
/// One thread at a time uses it.
class TARSEL_EXPORT DataStdOutput : public virtual IByteDataOutput
{
public:
    /// Creates the endpoint around the process's standard-output handle with a ByteDataOutputRawProtocol.
    /// `maxSizeAtTime` receives its transfer limit in bytes.
    ///
    /// Returns null, and leaves `maxSizeAtTime` unchanged, if there is no handle.
    static SP<IByteDataOutput> Create(unsigned long& maxSizeAtTime);

    /// Makes an endpoint without a side and without a handle.
    DataStdOutput();
    ~DataStdOutput() override;

    /// Returns the native handle, or null while there is none.
    void* GetPipeHandle();

    /// Installs the side that is written to; null removes it. Do not call this while the endpoint is in use.
    void SetOutputPipe(SP<IByteDataOutput> output);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// Returns what the side's Write returns. Without a side it returns 0 and writes an ERROR line to the log.
    ioSize Write(const uint8_t* data, ioSize size) override;

private:
    RefCountImpl m_refCount;
    SP<IByteDataOutput> m_output;
    void* m_pipeHandle;
};

}  // namespace Tarsel::Core
