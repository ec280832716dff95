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

/// Joins an input side and an output side into a two-way endpoint, which forwards to them. The factories build the
/// sides from a native pipe handle, which nothing supplies yet. Transfers fail until a program installs sides of its
/// own with SetInputPipe and SetOutputPipe.
///
/// One thread may read while another writes. Do not replace a side while it is in use.
class TARSEL_EXPORT DataInputOutputPipe : public virtual IByteDataInputOutput
{
public:
    /// Creates the endpoint with the caller's protocols, which are not null. `maxSizeAtTime` receives the larger of the
    /// two sides' transfer limits in bytes, 1024. `name` and the `bool` have no effect: no named pipe is opened.
    static SP<IByteDataInputOutput> Create(const std::string& name,
                                           std::unique_ptr<IByteDataInputProtocol> inputProtocol,
                                           std::unique_ptr<IByteDataOutputProtocol> outputProtocol,
                                           bool,
                                           unsigned long& maxSizeAtTime);

    /// Does the same with a ByteDataInputRawProtocol and a ByteDataOutputRawProtocol.
    static SP<IByteDataInputOutput> Create(const std::string& name, bool, unsigned long& maxSizeAtTime);

    /// Use Create instead. This constructor makes an endpoint without sides. Neither argument has an effect.
    DataInputOutputPipe(const std::string& name, bool);
    ~DataInputOutputPipe() override;

    /// Returns the native handle, or null while there is none.
    void* GetPipeHandle();

    /// Installs the side that is read from; null removes it. Do not call this while the endpoint is in use.
    void SetInputPipe(SP<IByteDataInput> input);

    /// Installs the side that is written to; null removes it. Do not call this while the endpoint is in use.
    void SetOutputPipe(SP<IByteDataOutput> output);

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Returns what the input side's Read returns. Without an input side it returns 0 and writes an ERROR line to the
    /// log.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// Calls the input side's Cancel, through whichever interface it is called. Does nothing without an input side.
    void Cancel() override;

    // IByteDataOutput

    /// Returns what the output side's Write returns. Without an output side it returns 0 and writes an ERROR line to
    /// the log.
    ioSize Write(const uint8_t* data, ioSize size) override;

private:
    RefCountImpl m_refCount;
    SP<IByteDataInput> m_input;
    SP<IByteDataOutput> m_output;
    void* m_pipeHandle;
};

}  // namespace Tarsel::Core
