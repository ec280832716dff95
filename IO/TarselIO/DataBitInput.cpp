#include <TarselIO/DataBitInput.h>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/Raise.h>

namespace Tarsel::Core
{
namespace
{

constexpr char kReadBitsInt[] = "uint8_t Tarsel::Core::DataBitInput::ReadBitsInt(ioSize)";

}  // namespace

DataBitInput::DataBitInput(const SP<IDataInput>& input) : m_input(input), m_byte(0), m_unread(0)
{
}

std::uint64_t DataBitInput::BitsLeft() const
{
    return m_unread + kBitsPerByte * (m_input->GetSize() - m_input->GetPosition());
}

void DataBitInput::RaiseTooManyBits()
{
    Raise(IOException(), kReadBitsInt);
}

void DataBitInput::RaiseEndOfStream()
{
    Raise(IOException(), kReadBitsInt);
}

}  // namespace Tarsel::Core
