#pragma once

#include <TarselIO/IByteDataInput.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// The process's standard input as a byte input, which forwards to its input side. No system handle is supplied yet, so
/// Create returns null; a program that wants its real standard input constructs the endpoint and gives it a pipe
/// opened on "/dev/stdin" through SetInputPipe. One thread at a time uses it; Cancel does nothing.
class TARSEL_EXPORT DataStdInput : public virtual IByteDataInput
{
public:
    /// Builds the endpoint around the process's standard-input handle with a ByteDataInputRawProtocol; `maxSizeAtTime`
    /// receives its transfer limit in bytes. Returns null, and leaves `maxSizeAtTime` alone, when there is no handle.
    static SP<IByteDataInput> Create(unsigned long& maxSizeAtTime);

    /// An endpoint without a side and without a handle.
    DataStdInput();
    ~DataStdInput() override;

    /// The native handle, null while there is none.
    void* GetPipeHandle();

    /// Installs the side that is read from, or removes it with null. Not while the endpoint is in use.
    void SetInputPipe(SP<IByteDataInput> input);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// The side's Read. Without a side: 0, and an ERROR line in the log.
    ioSize Read(uint8_t* data, ioSize size) override;

private:
    RefCountImpl m_refCount;
    SP<IByteDataInput> m_input;
    void* m_pipeHandle;
};

}  // namespace Tarsel::Core
