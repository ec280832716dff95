#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <TarselExport/Export.h>
#include <TarselHash/MD5.h>
#include <TarselIO/IDataInput.h>
#include <TarselIO/IDataOutput.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// \name Copies and digests whole streams
/// The streams are not null. No function moves a stream to its start, locks it or keeps a reference. If threads share
/// the stream, hold an AutoLock around the call. The functions throw what the stream throws.
///
/// The reading functions take GetSize() bytes with exactly one Read from the current position. Bytes that this Read
/// does not deliver stay zero at the end of the result. That happens if the stream was not at position 0 or its Read
/// returned a short count. For a size that no buffer can have, they throw std::length_error or std::bad_alloc before
/// anything is read.
/// @{

/// Digests the stream's bytes with MD5 (RFC 1321). Returns the digest, which contains `text` as well.
TARSEL_EXPORT MD5Digest MD5Generate(const SP<IDataInput>& stream, const std::string& text);

/// Returns the stream's bytes, followed by one zero byte if `terminate` is true.
TARSEL_EXPORT std::vector<uint8_t> StreamToBuffer(IDataInput* stream, bool terminate);

/// Returns the stream's bytes in a string.
TARSEL_EXPORT std::string StreamToBufferString(IDataInput* stream);

/// Writes all of `buffer` with exactly one Write and returns what that returned.
TARSEL_EXPORT ioSize BufferToStream(const std::vector<uint8_t>& buffer, IDataOutput* stream);

/// Does the same for the bytes of a string, without a terminating zero.
TARSEL_EXPORT ioSize BufferToStream(const std::string& buffer, IDataOutput* stream);

/// @}

}  // namespace Tarsel::Core
