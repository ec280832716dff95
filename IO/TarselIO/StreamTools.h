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

/// \name Whole streams in one go
/// The streams are not null. No function moves a stream to its start, locks it or keeps a reference: who shares the
/// stream locks it around the call (AutoLock). What the stream throws passes through.
///
/// The reading functions take GetSize() bytes with exactly one Read from the current position. What that Read does not
/// deliver, because the stream was not at position 0 or came short, stays zero at the end of the result. They throw
/// std::length_error or std::bad_alloc, before anything is read, for a size that no buffer can have.
/// @{

/// Digests the stream's bytes with MD5 (RFC 1321); `text` is carried along in the digest.
TARSEL_EXPORT MD5Digest MD5Generate(const SP<IDataInput>& stream, const std::string& text);

/// Returns the stream's bytes, followed by one zero byte if `terminate` is true.
TARSEL_EXPORT std::vector<uint8_t> StreamToBuffer(IDataInput* stream, bool terminate);

/// Returns the stream's bytes in a string.
TARSEL_EXPORT std::string StreamToBufferString(IDataInput* stream);

/// Writes all of `buffer` with exactly one Write and returns what that returned.
TARSEL_EXPORT ioSize BufferToStream(const std::vector<uint8_t>& buffer, IDataOutput* stream);

/// The same for the bytes of a string, without a terminating zero.
TARSEL_EXPORT ioSize BufferToStream(const std::string& buffer, IDataOutput* stream);

/// @}

}  // namespace Tarsel::Core
