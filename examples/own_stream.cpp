// A program with its own stream class. It joins two strings into one input and exits with status 1 unless the input
// reads as one text.

#include <iostream>
#include <string>
#include <utility>

#include <TarselIO/DataInputString.h>
#include <TarselIO/IByteDataInput.h>
#include <TarselPointer/RefCounted.h>
#include <TarselPointer/SP.h>

using Tarsel::RefCounted;
using Tarsel::SP;
using namespace Tarsel::Core;

/// Reads one input to its end, then a second one.
class JoinedInput : public RefCounted<IByteDataInput>
{
public:
    static SP<IByteDataInput> Create(SP<IByteDataInput> first, SP<IByteDataInput> second)
    {
        return SP<IByteDataInput>(new JoinedInput(std::move(first), std::move(second)));
    }

    ioSize Read(uint8_t* data, ioSize size) override
    {
        const ioSize count = m_first->Read(data, size);
        return count == size ? count : count + m_second->Read(data + count, size - count);
    }

    void Cancel() override
    {
        m_first->Cancel();
        m_second->Cancel();
    }

private:
    JoinedInput(SP<IByteDataInput> first, SP<IByteDataInput> second)
        : m_first(std::move(first)), m_second(std::move(second))
    {
    }

    const SP<IByteDataInput> m_first;
    const SP<IByteDataInput> m_second;
};

int main()
{
    const std::string greeting = "Hello, ";
    const std::string name = "KitIO";
    const auto input = JoinedInput::Create(DataInputString::Create(&greeting), DataInputString::Create(&name));
    std::string text;
    for (uint8_t byte = 0; input->Read(&byte, 1) == 1;)
    {
        text.push_back(static_cast<char>(byte));
    }
    std::cout << text << '\n';
    return text == "Hello, KitIO" ? 0 : 1;
}
