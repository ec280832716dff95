#pragma once

#include <gmock/gmock.h>

#include <TarselIO/IByteDataInputEx.h>
#include <TarselIO/IByteDataInputProtocol.h>
#include <TarselIO/IByteDataOutputEx.h>
#include <TarselIO/IByteDataOutputProtocol.h>

// Each mock serves both directions under one name.

using Tarsel::Core::ioSize;

/// A raw endpoint. The test owns it: AddRef and Release are calls like any other.
class MockEndpoint : public virtual Tarsel::Core::IByteDataInputEx, public virtual Tarsel::Core::IByteDataOutputEx
{
public:
    MOCK_METHOD(int, AddRef, (), (const, override));
    MOCK_METHOD(int, GetRefCount, (), (const, override));
    MOCK_METHOD(int, Release, (), (const, override));
    MOCK_METHOD(ioSize, Move, (const uint8_t*, ioSize));
    MOCK_METHOD(void, Cancel, (), (override));
    MOCK_METHOD(bool, Raw, (const uint8_t*, ioSize, ioSize*));
    MOCK_METHOD(ioSize, GetMaxReadSizeAtTime, (), (override));
    MOCK_METHOD(ioSize, GetMaxWriteSizeAtTime, (), (override));

    ioSize Read(uint8_t* data, ioSize size) override { return Move(data, size); }
    ioSize Write(const uint8_t* data, ioSize size) override { return Move(data, size); }
    bool ReadRaw(uint8_t* data, ioSize size, ioSize* done) override { return Raw(data, size, done); }
    bool WriteRaw(const uint8_t* data, ioSize size, ioSize* done) override { return Raw(data, size, done); }
};

/// A framing protocol. Its destruction is a call, too.
class MockProtocol : public virtual Tarsel::Core::IByteDataInputProtocol,
                     public virtual Tarsel::Core::IByteDataOutputProtocol
{
public:
    ~MockProtocol() override { Die(); }  // NOLINT(bugprone-exception-escape): no action of Die throws

    MOCK_METHOD(ioSize, Move, (const uint8_t*, ioSize));
    MOCK_METHOD(void, Bind, (const void*));
    MOCK_METHOD(void, Die, ());

    ioSize Read(uint8_t* data, ioSize size) override { return Move(data, size); }
    ioSize Write(const uint8_t* data, ioSize size) override { return Move(data, size); }
    void SetByteDataInput(Tarsel::Core::IByteDataInputEx* input) override { Bind(input); }
    void SetByteDataOutput(Tarsel::Core::IByteDataOutputEx* output) override { Bind(output); }
};
