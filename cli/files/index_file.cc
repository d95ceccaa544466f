#include "cli/files/index_file.h"

#include <string_view>

#include "cli/files/byte_source.h"
#include "cli/terminal/failure.h"

namespace readkit::cli {
namespace {

constexpr std::uint32_t kPseudoBin = 37450;
constexpr std::size_t kMostBlocks = 64;
constexpr unsigned kBlockShift = 16;  // of a virtual offset

// Little-endian numbers, one behind the other, until one is cut short.
class Numbers {
 public:
  explicit Numbers(std::string_view bytes) : bytes_(bytes) {}

  bool ok() const { return ok_; }
  void fail() { ok_ = false; }
  std::size_t left() const { return bytes_.size(); }
  std::uint64_t take(std::size_t size) {
    if (bytes_.size() < size) ok_ = false;
    if (!ok_) return 0;
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- > 0;) {
      number = number << 8U | static_cast<std::uint8_t>(bytes_[i]);
    }
    bytes_.remove_prefix(size);
    return number;
  }
  // A count of things of `least` bytes each at least, which must be there.
  std::size_t count(std::size_t least) {
    const std::uint64_t number = take(4);
    if (number > bytes_.size() / least) ok_ = false;
    return ok_ ? static_cast<std::size_t>(number) : 0;
  }

 private:
  std::string_view bytes_;
  bool ok_ = true;
};

// One reference. Gives whether its pseudo-bin is listed before its other bins.
bool look_at_reference(Numbers& numbers, IndexFacts& facts, bool& has_bins) {
  constexpr std::size_t kLeastBin = 8;
  constexpr std::size_t kChunk = 16;
  constexpr std::size_t kOffset = 8;
  bool pseudo_bin_first = false;
  const std::size_t bins = numbers.count(kLeastBin);
  for (std::size_t i = 0; i < bins && numbers.ok(); ++i) {
    const std::uint64_t bin = numbers.take(4);
    if (bin == kPseudoBin && i == 0) pseudo_bin_first = true;
    if (bin != kPseudoBin) has_bins = true;
    const std::size_t chunks = numbers.count(kChunk);
    for (std::size_t k = 0; k < chunks; ++k) {
      const std::uint64_t begin = numbers.take(kOffset);
      numbers.take(kOffset);
      if (bin != kPseudoBin && k == 0 && facts.blocks.size() < kMostBlocks) {
        facts.blocks.push_back(begin >> kBlockShift);
      }
    }
  }
  const std::size_t windows = numbers.count(kOffset);
  std::uint64_t previous = 0;
  for (std::size_t i = 0; i < windows; ++i) {
    const std::uint64_t offset = numbers.take(kOffset);
    if (offset == 0 && previous != 0) facts.sparse = true;
    previous = offset;
  }
  return pseudo_bin_first && has_bins;
}

}  // namespace

IndexFacts look_at_index(const std::string& path) {
  std::string bytes;
  try {
    ByteSource source(path);
    for (auto piece = source.read(); !piece.empty(); piece = source.read()) {
      bytes.append(piece.begin(), piece.end());
    }
  } catch (const Failure&) {
    return {};
  }
  IndexFacts facts;
  if (!bytes.starts_with(std::string_view("BAI\1", 4))) return facts;
  constexpr std::size_t kLeastReference = 8;
  Numbers numbers(std::string_view(bytes).substr(4));
  facts.references = numbers.count(kLeastReference);
  // Gaps are certain signs of bamIndex. Where short references leave no room for any, the place of
  // the pseudo-bin is one: it comes out of bamIndex first, nearly always, and out of others rarely.
  std::size_t with_bins = 0;
  std::size_t pseudo_bin_first = 0;
  for (std::size_t i = 0; i < facts.references && numbers.ok(); ++i) {
    bool has_bins = false;
    pseudo_bin_first += look_at_reference(numbers, facts, has_bins) ? 1 : 0;
    with_bins += has_bins ? 1 : 0;
  }
  if (with_bins > 0 && 2 * pseudo_bin_first > with_bins) facts.sparse = true;
  facts.sound = numbers.ok();
  return facts;
}

}  // namespace readkit::cli
