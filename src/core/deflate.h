// The codec seam: one block in, one block out, and the checksum. Only the files that define these
// functions know a compression library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace readkit {

/// What zlib calls the window of a stream without a frame of its own.
inline constexpr int kRawWindowBits = -15;

/// A stated size that no data has: leaves every judgement to zlib.
inline constexpr std::size_t kSizeUnknown = ~std::size_t{0};

/// Raw inflate of one deflate stream that starts at `in` and ends somewhere within it; bytes after
/// its end are ignored. Returns the bytes produced, or nothing when the stream is damaged, does not
/// end within `in`, or does not fit into `out`. The outcome is zlib's. A faster decoder, which
/// takes some streams that zlib refuses, is believed only when it produces `stated_size` bytes, the
/// size that a trailer gives.
std::optional<std::size_t> inflate_raw(std::span<const std::uint8_t> in,
                                       std::span<std::uint8_t> out,
                                       std::size_t stated_size = kSizeUnknown);

/// Raw deflate of `in` into one stream. Returns the bytes produced, or nothing when they do not fit
/// into `out`. The flavours of the library differ in this function and the next two
/// alone: deflate_exact.cc defines them for the one, deflate_libdeflate.cc for the other.
std::optional<std::size_t> deflate_raw(std::span<const std::uint8_t> in,
                                       std::span<std::uint8_t> out);

/// `deflate_raw` for data that will be read once and removed: quick, and larger, where the flavour
/// may choose its bytes.
std::optional<std::size_t> deflate_raw_temporary(std::span<const std::uint8_t> in,
                                                 std::span<std::uint8_t> out);

/// `deflate_raw` for the same where the disk is less scarce than time: not compressed at all, where
/// the flavour may choose its bytes.
std::optional<std::size_t> deflate_raw_stored(std::span<const std::uint8_t> in,
                                              std::span<std::uint8_t> out);

/// `deflate_raw` by zlib at its default level: always the same bytes for the same input.
std::optional<std::size_t> deflate_raw_zlib(std::span<const std::uint8_t> in,
                                            std::span<std::uint8_t> out);

/// The CRC-32 of gzip (RFC 1952) of `bytes`.
std::uint32_t crc32_of(std::span<const std::uint8_t> bytes);

/// zlib's one-call raw inflate with its own outcomes: 0, with `*out_size` (the room, at entry)
/// set to the bytes produced; -1 when zlib cannot be initialised; -2 when the stream does not end
/// within the input and the room; -3 when zlib's end call fails.
int bgzf_uncompress(std::uint8_t* out, std::size_t* out_size, const std::uint8_t* in,
                    std::size_t in_size);

}  // namespace readkit
