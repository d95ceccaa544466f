// Inflating. Whatever decoder does the work, the outcome is zlib's.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "core/deflate.h"
#include "support/bgzf_builder.h"
#include "support/deflate_bits.h"
#include "support/deflate_words.h"
#include "support/random_data.h"
#include "support/reference_decoder.h"

namespace readkit::core_inflate_test {
namespace {

// The outcome must be zlib's, whichever decoder did the work.
void expect_zlib_verdict(const std::string& deflated, std::size_t room, const std::string& what,
                         std::size_t stated_size = kSizeUnknown) {
  const ZlibVerdict verdict = zlib_inflate(deflated, room);
  const auto result = inflated(deflated, room, stated_size);
  ASSERT_EQ(result.has_value(), verdict.ends) << what;
  if (result) {
    ASSERT_EQ(*result == verdict.data, true) << what;
  }
}

TEST(Inflate, GivesBackWhatZlibDeflatedAtEveryLevelAndStrategy) {
  for (const std::string& data : deflate_samples()) {
    for (int level = 0; level <= 9; ++level) {
      const std::string stream = raw_deflate(data, level);
      EXPECT_TRUE(inflated(stream) == data) << data.size() << " " << level;
      EXPECT_TRUE(inflated(stream, 0x10000, data.size()) == data) << data.size() << " " << level;
    }
    for (const int strategy : {Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED}) {
      EXPECT_TRUE(inflated(raw_deflate(data, 6, strategy)) == data)
          << data.size() << " " << strategy;
    }
  }
}

TEST(Inflate, IgnoresWhatFollowsTheStream) {
  EXPECT_EQ(inflated(raw_deflate("data") + "anything"), "data");
}

TEST(Inflate, StreamThatDoesNotEndWithinItsInputGivesNothing) {
  Random random(14);
  const std::string stream = raw_deflate(random_text(random, 500));
  for (std::size_t size = 0; size < stream.size(); ++size) {
    EXPECT_FALSE(inflated(stream.substr(0, size)).has_value()) << size;
  }
}

TEST(Inflate, DataMayFillTheRoomButNotExceedIt) {
  const std::string stream = raw_deflate(std::string(0x10000, 'x'));
  EXPECT_TRUE(inflated(stream, 0x10000).has_value());
  EXPECT_FALSE(inflated(stream, 0xffff).has_value());
  EXPECT_FALSE(inflated(stream, 0).has_value());
  EXPECT_EQ(inflated(raw_deflate(""), 0, 0), "");
}

TEST(Inflate, EqualsZlibOnEveryPrefixOfAStreamFollowedByATrailer) {
  Random random(15);
  const std::string stream = raw_deflate(random_text(random, 300));
  for (std::size_t size = 0; size <= stream.size(); ++size) {
    expect_zlib_verdict(stream.substr(0, size) + "\x12\x34\x56\x78\x01\x02\x03\x04", 0x10000,
                        std::to_string(size));
  }
}

TEST(Inflate, EqualsZlibOnStreamsWithOneBitTurned) {
  Random random(16);
  const std::string fixed = raw_deflate("a short text, a short text", 6, Z_FIXED);
  const std::string dynamic = raw_deflate(random_text(random, 400, "abcdefghijkl"));
  for (const std::string& stream : {fixed, dynamic}) {
    for (std::size_t bit = 0; bit < stream.size() * 8; ++bit) {
      std::string damaged = stream;
      damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
      expect_zlib_verdict(damaged, 0x10000, "bit " + std::to_string(bit));
    }
  }
}

TEST(Inflate, EqualsZlibOnRandomlyDamagedStreams) {
  Random random(17);
  for (int i = 0; i < 3000; ++i) {
    const std::string data = random_text(random, random() % 2000 + 1, "ACGTN=#IIII");
    std::string stream = raw_deflate(data, static_cast<int>(random() % 10));
    for (std::uint64_t n = random() % 4 + 1; n > 0; --n) {
      stream[random() % stream.size()] = static_cast<char>(random() & 0xff);
    }
    expect_zlib_verdict(stream, 0x10000, "round " + std::to_string(i));
    expect_zlib_verdict(stream, 0x10000, "stated, round " + std::to_string(i), data.size());
    if (HasFatalFailure()) return;
  }
}

TEST(Inflate, EqualsZlibOnRandomBytes) {
  Random random(18);
  for (int i = 0; i < 20000; ++i) {
    expect_zlib_verdict(random_bytes(random, random() % 60), 0x10000, "round " + std::to_string(i));
    if (HasFatalFailure()) return;
  }
}

// ---- Streams that decoders are known to judge differently --------------------------------------

// Literals 'a' and 'b', end of block and the length 3, two bits each.
std::vector<int> small_literals(std::size_t count = 258) {
  std::vector<int> lengths(count, 0);
  lengths['a'] = lengths['b'] = lengths[256] = lengths[257] = 2;
  return lengths;
}

// "a", then a match of length 3 by way of the distance bits given, then the end of the block.
std::string match_with(const std::vector<int>& distances, std::uint32_t bits, int size) {
  const std::vector<int> literals = small_literals();
  DeflateBits stream;
  stream.last_block(2).dynamic_codes(literals, distances).symbol(literals, 'a');
  stream.symbol(literals, 257).put(bits, size).symbol(literals, 256);
  return stream.bytes();
}

std::string literal_only(const std::vector<int>& literals, const std::vector<int>& distances) {
  DeflateBits stream;
  stream.last_block(2).dynamic_codes(literals, distances).symbol(literals, 'a');
  return stream.symbol(literals, 256).bytes();
}

DeflateBits fixed_a() { return DeflateBits().last_block(1).fixed_symbol('a'); }

struct StreamRow {
  const char* what;
  std::string stream;
  std::optional<std::string> data;
};

const std::vector<int> kTwo = {1, 1};
const std::vector<StreamRow> kUnusualStreams = {
    {"fixed codes, plain", fixed_a().fixed_symbol(256).bytes(), "a"},
    {"fixed length symbol 285",
     fixed_a().fixed_symbol(285).fixed_distance(0).fixed_symbol(256).bytes(),
     std::string(259, 'a')},
    {"fixed length symbol 286",
     fixed_a().fixed_symbol(286).fixed_distance(0).fixed_symbol(256).bytes(), std::nullopt},
    {"fixed length symbol 287",
     fixed_a().fixed_symbol(287).fixed_distance(0).fixed_symbol(256).bytes(), std::nullopt},
    {"distance before the data",
     fixed_a().fixed_symbol(257).fixed_distance(1).fixed_symbol(256).bytes(), std::nullopt},
    {"fixed distance symbol 30",
     fixed_a().fixed_symbol(257).fixed_distance(30).put(0, 13).fixed_symbol(256).bytes(),
     std::nullopt},
    {"fixed distance symbol 30 with data enough before it",
     [] {
       DeflateBits stream = fixed_a();
       for (int i = 0; i < 100; ++i) stream.fixed_symbol(285).fixed_distance(0);
       return stream.fixed_symbol(257).fixed_distance(30).put(0, 13).fixed_symbol(256).bytes();
     }(),
     std::nullopt},
    {"block type 3", DeflateBits().last_block(3).put(0, 29).bytes(), std::nullopt},
    {"stored",
     std::string("\x01\x01\x00\xfe\xff"
                 "a",
                 6),
     "a"},
    {"stored, length and complement differ",
     std::string("\x01\x01\x00\xff\xff"
                 "a",
                 6),
     std::nullopt},
    {"stored, empty", std::string("\x01\x00\x00\xff\xff", 5), ""},
    {"dynamic codes, plain", match_with(kTwo, 0, 1), "aaaa"},
    {"286 literal lengths", literal_only(small_literals(286), kTwo), "a"},
    {"287 literal lengths", literal_only(small_literals(287), kTwo), std::nullopt},
    {"288 literal lengths", literal_only(small_literals(288), kTwo), std::nullopt},
    {"30 distance lengths", match_with(std::vector<int>(30, 5), 0, 5), std::nullopt},
    {"one distance code of one bit", match_with({1}, 0, 1), "aaaa"},
    {"the other bit of a lone distance code", match_with({1}, 1, 1), std::nullopt},
    {"one distance code of two bits", literal_only(small_literals(), {2}), std::nullopt},
    {"no distance code, none used", literal_only(small_literals(), {0}), "a"},
    {"no distance code, one used", match_with({0}, 0, 1), std::nullopt},
    {"too many distance codes", literal_only(small_literals(), {1, 1, 1}), std::nullopt},
    {"too few literal codes",
     [] {
       std::vector<int> lengths = small_literals();
       lengths['b'] = 0;
       return literal_only(lengths, {1, 1});
     }(),
     std::nullopt},
    {"no code for the end of the block",
     [] {
       std::vector<int> lengths(257, 0);
       lengths['a'] = lengths['b'] = 1;
       return DeflateBits().last_block(2).dynamic_codes(lengths, {1, 1}).put(0, 8).bytes();
     }(),
     std::nullopt},
    {"only the end of the block",
     [] {
       std::vector<int> lengths(257, 0);
       lengths[256] = 1;
       return DeflateBits().last_block(2).dynamic_codes(lengths, {0}).put(0, 1).bytes();
     }(),
     ""},
    {"a repeat with nothing before it",
     DeflateBits()
         .last_block(2)
         .put(0, 5)
         .put(0, 5)
         .put(0, 4)
         .put(1, 3)
         .put(1, 3)
         .put(0, 3)
         .put(0, 3)
         .put(0, 32)
         .bytes(),
     std::nullopt},
};

TEST(Inflate, UnusualStreamsGiveWhatZlibGives) {
  for (const StreamRow& row : kUnusualStreams) {
    const std::string stream = row.stream + std::string(8, '\0');  // room to read ahead
    EXPECT_EQ(inflated(stream), row.data) << row.what;
  }
}

// The one way in which the faster decoder's leniency can show: a stream that zlib refuses and that
// nevertheless has exactly the size its trailer states.
TEST(Inflate, TheFasterDecoderIsBelievedWhenTheSizeIsTheStatedOne) {
  const std::string stream = literal_only(small_literals(287), {1, 1}) + std::string(8, '\0');
  EXPECT_EQ(inflated(stream, 0x10000, 1), "a");
  EXPECT_EQ(inflated(stream, 0x10000, 2), std::nullopt);
}

TEST(Inflate, AWrongStatedSizeDoesNotMatterForASoundStream) {
  EXPECT_EQ(inflated(raw_deflate("data"), 0x10000, 3), "data");
  EXPECT_EQ(inflated(raw_deflate("data"), 0x10000, 0), "data");
}

TEST(Inflate, TheUnusualStreamsAreWhatTheyAreCalled) {
  for (const StreamRow& row : kUnusualStreams) {
    const ZlibVerdict verdict = zlib_inflate(row.stream + std::string(8, '\0'), 0x10000);
    EXPECT_EQ(verdict.ends, row.data.has_value()) << row.what;
    if (row.data) {
      EXPECT_EQ(verdict.data, *row.data) << row.what;
    }
  }
}

// Streams built from random code lengths: most of them break some rule of their own.
TEST(Inflate, EqualsZlibOnRandomCodes) {
  Random random(19);
  for (int i = 0; i < 20000; ++i) {
    std::vector<int> literals(random() % 32 + 257, 0);
    for (std::uint64_t n = random() % 6; n > 0; --n) {
      literals[random() % literals.size()] = static_cast<int>(random() % 4);
    }
    literals[256] = static_cast<int>(random() % 3);
    std::vector<int> distances(random() % 32 + 1, 0);
    for (std::uint64_t n = random() % 4; n > 0; --n) {
      distances[random() % distances.size()] = static_cast<int>(random() % 4);
    }
    DeflateBits stream;
    stream.last_block(2).dynamic_codes(literals, distances);
    expect_zlib_verdict(stream.bytes() + random_bytes(random, 40), 0x10000,
                        "round " + std::to_string(i));
    if (HasFatalFailure()) return;
  }
}

// ---- bgzf_uncompress --------------------------------------------------------------------------

int uncompress(const std::string& deflated, std::size_t room, std::string* data) {
  const std::vector<std::uint8_t> in = bytes_of(deflated);
  std::vector<std::uint8_t> out(room);
  std::size_t size = room;
  const int outcome = bgzf_uncompress(out.data(), &size, in.data(), in.size());
  *data = text_of(std::span(out).first(size));
  return outcome;
}

TEST(BgzfUncompress, GivesZeroAndTheLengthProduced) {
  std::string data;
  EXPECT_EQ(uncompress(raw_deflate("some data") + "trailer", 100, &data), 0);
  EXPECT_EQ(data, "some data");
  EXPECT_EQ(uncompress(raw_deflate("some data"), 9, &data), 0);
  EXPECT_EQ(data, "some data");
}

TEST(BgzfUncompress, GivesMinusTwoForAStreamThatDoesNotEndWithinInputAndRoom) {
  std::string data;
  const std::string stream = raw_deflate("some data");
  EXPECT_EQ(uncompress(stream, 8, &data), -2);
  EXPECT_EQ(uncompress(stream.substr(0, stream.size() - 1), 100, &data), -2);
  EXPECT_EQ(uncompress("\x07", 100, &data), -2);
}

TEST(Crc32, EqualsZlibs) {
  for (const std::string& data : deflate_samples()) {
    EXPECT_EQ(crc32_of(bytes_of(data)), zlib_crc32(data)) << data.size();
  }
  EXPECT_EQ(crc32_of(bytes_of("123456789")), 0xCBF43926U);
}

}  // namespace
}  // namespace readkit::core_inflate_test
