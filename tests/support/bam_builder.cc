#include "support/bam_builder.h"

#include <algorithm>

#include "support/bgzf_builder.h"

namespace readkit {

BamBuilder& BamBuilder::text(std::string text) {
  text_ = std::move(text);
  return *this;
}

BamBuilder& BamBuilder::ref(std::string name, std::uint32_t length) {
  refs_.emplace_back(std::move(name), length);
  return *this;
}

BamBuilder& BamBuilder::refs(int count, std::uint32_t length) {
  for (int i = 1; i <= count; ++i) ref("chr" + std::to_string(i), length);
  return *this;
}

BamBuilder& BamBuilder::record_bytes(std::string bytes) {
  records_.push_back(std::move(bytes));
  return *this;
}

BamBuilder& BamBuilder::block_size(std::size_t size) {
  block_size_ = size;
  return *this;
}

BamBuilder& BamBuilder::one_block_each(bool on) {
  one_block_each_ = on;
  return *this;
}

BamBuilder& BamBuilder::without_marker() {
  marker_ = false;
  return *this;
}

std::string BamBuilder::header_bytes() const {
  std::string bytes = "BAM\1" + little_endian(text_.size(), 4) + text_;
  bytes += little_endian(refs_.size(), 4);
  for (const auto& [name, length] : refs_) {
    bytes += little_endian(name.size() + 1, 4) + name + '\0' + little_endian(length, 4);
  }
  return bytes;
}

std::string BamBuilder::content() const {
  std::string bytes = header_bytes();
  for (const std::string& record : records_) bytes += record;
  return bytes;
}

BamBuilder::Layout BamBuilder::layout() const {
  std::vector<std::string> pieces = {header_bytes()};
  if (one_block_each_) {
    pieces.insert(pieces.end(), records_.begin(), records_.end());
  } else {
    pieces = {content()};
  }
  Layout layout;
  std::size_t data_begin = 0;
  for (const std::string& piece : pieces) {
    for (std::size_t at = 0; at < piece.size(); at += block_size_) {
      const auto data = std::string_view(piece).substr(at, block_size_);
      layout.blocks.push_back({data_begin, layout.bytes.size()});
      layout.bytes += BgzfBlock(data).bytes();
      data_begin += data.size();
    }
  }
  layout.blocks.push_back({data_begin, layout.bytes.size()});
  if (marker_) layout.bytes += bgzf_marker();
  return layout;
}

std::uint64_t BamBuilder::record_offset(std::size_t n) const {
  std::size_t data_offset = header_bytes().size();
  for (std::size_t i = 0; i < n; ++i) data_offset += records_.at(i).size();
  const std::vector<Block> blocks = layout().blocks;
  const auto after = std::find_if(blocks.begin(), blocks.end(), [&](const Block& block) {
    return block.data_begin > data_offset;
  });
  const Block& holder = *(after - 1);
  return virtual_offset(holder.file_begin, data_offset - holder.data_begin);
}

}  // namespace readkit
