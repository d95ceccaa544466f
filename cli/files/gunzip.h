// gzip files, decompressed as they come: of one member or many, BGZF blocks among them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace readkit::cli {

class Gunzip {
 public:
  /// Takes decompressed bytes.
  using Sink = std::function<void(std::span<const std::uint8_t>)>;

  /// `name` is what a Failure blames.
  Gunzip(std::string name, Sink sink);
  ~Gunzip();
  Gunzip(const Gunzip&) = delete;
  Gunzip& operator=(const Gunzip&) = delete;

  /// Decompresses the next bytes of the file. Raises Failure for damage, checksums included.
  void add(std::span<const std::uint8_t> packed);
  /// Raises Failure when the file ends inside a member.
  void finish() const;

  /// Whether bytes are the start of a gzip file.
  static bool is_gzip(std::span<const std::uint8_t> bytes);
  /// Whether they are a gzip member with the extra field that makes it a BGZF block.
  static bool is_bgzf(std::span<const std::uint8_t> bytes);
  /// The first bytes, `most` at most, of what the start of a gzip file holds; fewer where it is
  /// damaged.
  static std::string start_of(std::span<const std::uint8_t> packed, std::size_t most);

 private:
  struct Stream;
  std::string name_;
  Sink sink_;
  std::unique_ptr<Stream> stream_;
  bool inside_ = false;    // of a member
  bool trailing_ = false;  // behind the last member
};

}  // namespace readkit::cli
