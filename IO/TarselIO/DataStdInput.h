#pragma once

#include <TarselIO/IByteDataInput.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Reads the process's standard input through an input side. No system handle is supplied yet, so Create returns null.
/// If a program needs its real standard input, it constructs the endpoint and gives it a pipe opened on "/dev/stdin"
/// through SetInputPipe. Cancel does nothing.
///
/// One thread at a time uses it.
class TARSEL_EXPORT DataStdInput : public virtual IByteDataInput
{
public:
    /// Creates the endpoint around the process's standard-input handle with a ByteDataInputRawProtocol. `maxSizeAtTime`
    /// receives its transfer limit in bytes.
    ///
    /// Returns null, and leaves `maxSizeAtTime` unchanged, if there is no handle.
    static SP<IByteDataInput> Create(unsigned long& maxSizeAtTime);

    /// Makes an endpoint without a side and without a handle.
    DataStdInput();
    ~DataStdInput() override;

    /// Returns the native handle, or null while there is none.
    void* GetPipeHandle();

    /// Installs the side that is read from; null removes it. Do not call this while the endpoint is in use.
    void SetInputPipe(SP<IByteDataInput> input);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Returns what the side's Read returns. Without a side it returns 0 and writes an ERROR line to the log.
    ioSize Read(uint8_t* data, ioSize size) override;

private:
    RefCountImpl m_refCount;
    SP<IByteDataInput> m_input;
    void* m_pipeHandle;
};

}  // namespace Tarsel::Core
