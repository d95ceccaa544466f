#include "check/record_search.h"

#include <algorithm>

#include "check/characters.h"
#include "core/bytes.h"
#include "records/record_format.h"

namespace readkit {
namespace {

namespace rf = record_format;

constexpr int kChain = 3;  // records that must look right

bool is_place(std::int32_t ref, std::int32_t pos, const std::vector<Reference>* references) {
  if (ref < -1 || pos < -1) return false;
  if (ref < 0 || references == nullptr) return true;
  const auto index = static_cast<std::size_t>(ref);
  return index < references->size() && pos < std::int64_t{(*references)[index].l_ref};
}

bool is_record(std::span<const std::uint8_t> bytes, const std::vector<Reference>* references) {
  if (bytes.size() < kLayoutSize || !has_sound_layout(bytes.data())) return false;
  const std::uint8_t* const data = bytes.data() + rf::kLengthWord;
  const std::size_t name_length = data[rf::kNameLength];
  if (name_length < 2 || bytes.size() < kLayoutSize + name_length) return false;
  const std::uint8_t* const name = data + rf::kName;
  return is_place(load<std::int32_t>(data + rf::kRefId), load<std::int32_t>(data + rf::kPos),
                  references) &&
         is_place(load<std::int32_t>(data + rf::kNextRefId),
                  load<std::int32_t>(data + rf::kNextPos), references) &&
         name[name_length - 1] == 0 && std::all_of(name, name + name_length - 1, is_printable);
}

}  // namespace

bool has_sound_layout(const std::uint8_t* bytes) {
  const std::uint8_t* const data = bytes + rf::kLengthWord;
  const auto size = load<std::int32_t>(bytes);
  const std::int64_t bases = load<std::int32_t>(data + rf::kSeqLength);
  if (size < static_cast<std::int32_t>(rf::kName) || size > kLongestRecord || bases < 0) {
    return false;
  }
  const std::int64_t ops = load<std::uint16_t>(data + rf::kCigarCount);
  const std::int64_t needed = static_cast<std::int64_t>(rf::kName) + data[rf::kNameLength] +
                              4 * ops + (bases + 1) / 2 + bases;
  return needed <= size;
}

std::optional<std::size_t> find_record(std::span<const std::uint8_t> bytes,
                                       const std::vector<Reference>* references) {
  for (std::size_t at = 0; at + kLayoutSize <= bytes.size(); ++at) {
    std::span<const std::uint8_t> rest = bytes.subspan(at);
    bool all_are = true;
    for (int i = 0; i < kChain && (i == 0 || rest.size() >= kLayoutSize + 255); ++i) {
      all_are = is_record(rest, references);
      if (!all_are) break;
      const std::size_t size =
          rf::kLengthWord + static_cast<std::size_t>(load<std::int32_t>(rest.data()));
      rest = rest.subspan(std::min(size, rest.size()));
    }
    if (all_are) return at;
  }
  return std::nullopt;
}

}  // namespace readkit
