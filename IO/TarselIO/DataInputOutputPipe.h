#pragma once

#include <memory>
#include <string>

#include <TarselIO/IByteDataInputOutput.h>
#include <TarselIO/IByteDataInputProtocol.h>
#include <TarselIO/IByteDataOutputProtocol.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// A two-way endpoint made of an input side and an output side, to which it forwards. The factories build the sides
/// from a native pipe handle, which nothing supplies yet: until a program installs sides of its own with SetInputPipe
/// and SetOutputPipe, transfers fail. One thread may read while another writes; sides are not replaced while they are
/// in use.
class TARSEL_EXPORT DataInputOutputPipe : public virtual IByteDataInputOutput
{
public:
    /// Builds the endpoint with protocols of the caller's, which are not null. `maxSizeAtTime` receives the larger of
    /// the two sides' transfer limits in bytes, 1024. `name` and the `bool` have no effect: no named pipe is opened.
    static SP<IByteDataInputOutput> Create(const std::string& name,
                                           std::unique_ptr<IByteDataInputProtocol> inputProtocol,
                                           std::unique_ptr<IByteDataOutputProtocol> outputProtocol,
                                           bool,
                                           unsigned long& maxSizeAtTime);

    /// The same with a ByteDataInputRawProtocol and a ByteDataOutputRawProtocol.
    static SP<IByteDataInputOutput> Create(const std::string& name, bool, unsigned long& maxSizeAtTime);

    /// An endpoint without sides; callers use the factories. Neither argument has an effect.
    DataInputOutputPipe(const std::string& name, bool);
    ~DataInputOutputPipe() override;

    /// The native handle, null while there is none.
    void* GetPipeHandle();

    /// Installs the side that is read from, or removes it with null. Not while the endpoint is in use.
    void SetInputPipe(SP<IByteDataInput> input);

    /// Installs the side that is written to, or removes it with null. Not while the endpoint is in use.
    void SetOutputPipe(SP<IByteDataOutput> output);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// The input side's Read. Without an input side: 0, and an ERROR line in the log.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// The input side's Cancel, through whichever interface it is called. Without an input side it does nothing.
    void Cancel() override;

    // IByteDataOutput

    /// The output side's Write. Without an output side: 0, and an ERROR line in the log.
    ioSize Write(const uint8_t* data, ioSize size) override;

private:
    RefCountImpl m_refCount;
    SP<IByteDataInput> m_input;
    SP<IByteDataOutput> m_output;
    void* m_pipeHandle;
};

}  // namespace Tarsel::Core
