#include "reads.h"

#include <algorithm>
#include <random>

#include "core/bgzf_format.h"

namespace readkit::kernels {
namespace {

constexpr std::uint32_t kReferenceLength = std::uint32_t{1} << 28;
constexpr std::size_t kStep = 100;

// The generator's own words are the same everywhere; the library's distributions are not.
std::string made_text(std::mt19937& random, const std::string& letters) {
  std::string text;
  for (int i = 0; i < kBases; ++i) text += letters[random() % letters.size()];
  return text;
}

// A quality is mostly the one before it.
std::string made_qualities(std::mt19937& random) {
  std::string text(kBases, 'I');
  for (std::size_t i = 1; i < text.size(); ++i) {
    text[i] = text[i - 1];
    if (random() % 4 == 0) text[i] = static_cast<char>('5' + random() % 21);
  }
  return text;
}

}  // namespace

const BamHeader& header() {
  static const BamHeader made = [] {
    BamHeader one;
    one.set_text("@SQ\tSN:chr1\tLN:268435456\n");
    one.add_reference("chr1", kReferenceLength);
    return one;
  }();
  return made;
}

std::vector<std::string> sam_lines(std::size_t count) {
  std::mt19937 random(20);
  std::vector<std::string> lines;
  lines.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t position = 1 + i * kStep;
    lines.push_back("HWI-ST1:" + std::to_string(random() % 400) + ':' + std::to_string(i) + "\t99" +
                    "\tchr1\t" + std::to_string(position) + "\t60\t151M\t=\t" +
                    std::to_string(position + 200) + "\t351\t" + made_text(random, "ACGT") + '\t' +
                    made_qualities(random) + "\tNM:i:" + std::to_string(random() % 4));
  }
  return lines;
}

std::vector<Alignment> alignments(std::size_t count) {
  const ReferenceMap refs = {{"chr1", 0}};
  std::vector<Alignment> records;
  records.reserve(count);
  for (const std::string& line : sam_lines(count)) records.emplace_back(line, refs);
  return records;
}

std::vector<std::uint8_t> block_of_records() {
  std::vector<std::uint8_t> bytes;
  for (const Alignment& record : alignments(400)) {
    bytes.insert(bytes.end(), record.data(), record.data_end());
  }
  bytes.resize(std::min<std::size_t>(bytes.size(), kMaxBlockData));
  return bytes;
}

}  // namespace readkit::kernels
