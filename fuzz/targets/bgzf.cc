// A BGZF stream: read whole, read in pieces, and positioned to where it has been; and written
// again.
#include "core/bgzf.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/support/blocks.h"
#include "fuzz/support/calls.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/scratch.h"
#include "fuzz/support/target.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {
namespace {

constexpr std::size_t kMostData = std::size_t{1} << 20;

struct Drained {
  std::string data;
  std::string error;
  std::vector<std::pair<std::uint64_t, std::size_t>> places;  // virtual offset, place in `data`
};

// Reads to the end, or to where an error is, in pieces of at most this size.
Drained drain(BGZF& in, std::size_t piece) {
  Drained drained;
  std::string bytes(piece, '\0');
  drained.error = error_of("BGZF::read", [&] {
    while (drained.data.size() < kMostData) {
      drained.places.emplace_back(in.tell(), drained.data.size());
      const std::size_t got = in.read(bytes.data(), 1, piece);
      drained.data.append(bytes, 0, got);
      if (got < piece) return;
    }
  });
  return drained;
}

// Data up to an error come with the pieces before it, so that of two sizes one may have more.
void compare(const Drained& whole, const Drained& pieces) {
  require(whole.error == pieces.error, "pieces end otherwise than the whole");
  require(pieces.data.starts_with(whole.data) &&
              (!whole.error.empty() || pieces.data.size() == whole.data.size()),
          "pieces are not those of the whole");
}

void compare_with_decoder(const Drained& whole, std::string_view file) {
  std::string decoded;
  try {
    decoded = decode_bgzf(file);
  } catch (const std::exception&) {
    return;  // damaged in a way that the stream need not see
  }
  const bool has_marker = file.ends_with(
      std::string_view(reinterpret_cast<const char*>(eof_magic.data()), eof_magic.size()));
  if (!has_marker || decoded.size() >= kMostData) return;
  require(whole.error.empty() && whole.data == decoded, "a sound file is read otherwise");
}

void seek_back(BGZF& in, const Drained& pieces) {
  constexpr std::size_t kPlaces = 16;
  const std::size_t step = pieces.places.size() / kPlaces + 1;
  for (std::size_t i = 0; i < pieces.places.size(); i += step) {
    const auto& [offset, at] = pieces.places[pieces.places.size() - 1 - i];
    char bytes[8];
    std::size_t got = 0;
    const std::string error = error_of("BGZF::seek", [&, offset = offset] {
      in.seek(offset);
      got = in.read(bytes, 1, sizeof bytes);
    });
    const std::string_view found(bytes, error.empty() ? got : 0);
    const std::string_view expected = std::string_view(pieces.data).substr(at, found.size());
    // A piece with an error in it was not kept.
    require(
        found.starts_with(expected) && (found.size() == expected.size() || !pieces.error.empty()),
        "a place that was told leads elsewhere");
  }
}

void write_again(const std::string& data) {
  const std::string name = fresh_file("again");
  BGZF out(path_of(name), "w");
  out.write(data.data(), 1, data.size());
  require(out.close() == 0, "a stream cannot be written");
  BGZF in(path_of(name));
  require(drain(in, data.size() + 1).data == data, "what was written is not what is read");
}

void run(Input input) {
  const std::size_t piece = input.byte() + std::size_t{1};
  const auto stray = input.take<std::uint32_t>();
  const std::string_view file = input.rest();
  const Path path = path_of(file_with("a.bgzf", file));
  BGZF first(path);
  const Drained whole = drain(first, kMaxBlockData);
  compare_with_decoder(whole, file);
  BGZF second(path);
  const Drained pieces = drain(second, piece);
  if (whole.data.size() < kMostData) compare(whole, pieces);
  // A stream does not go back to a block in which it has met an error: nothing is retried.
  if (!pieces.error.empty()) second.open(path, "r");
  seek_back(second, pieces);
  error_of("BGZF::seek anywhere", [&] {
    second.seek(stray);
    drain(second, piece);
  });
  write_again(whole.data);
}

std::vector<std::string> seeds() {
  return behind({std::string("\7\0\0\0\0", 5), std::string("\377\12\0\1\0", 5)}, bam_files());
}

const Registration registration(
    {.name = "bgzf", .run = run, .seeds = seeds, .choices = 5, .change = change_bgzf});

}  // namespace
}  // namespace readkit::fuzz
