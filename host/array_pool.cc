#include "host/array_pool.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "core/large_memory.h"

#if defined(__SANITIZE_ADDRESS__)
#define READKIT_EVERY_ARRAY_BY_ITSELF
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define READKIT_EVERY_ARRAY_BY_ITSELF
#endif
#endif

namespace readkit::host {

#ifdef READKIT_EVERY_ARRAY_BY_ITSELF

// The sanitizer watches over what is allocated by itself.
void* take_from_pool(std::size_t bytes) { return ::operator new(bytes); }
void return_to_pool(void* memory) noexcept { ::operator delete(memory); }

#else

namespace {

// A piece of memory begins with this, at a multiple of its size: every address within tells where.
struct alignas(16) Piece {
  static constexpr std::size_t kBytes = kLargePage;

  // What was taken less what was returned, from the time on when nothing more is taken; until then
  // only what was returned counts.
  std::atomic<std::int64_t> in_use{0};
};

void give_back(Piece* piece) noexcept {
  piece->~Piece();
  UnmapMemory{Piece::kBytes}(reinterpret_cast<std::uint8_t*>(piece));
}

// The piece that a thread takes memory from.
class CurrentPiece {
 public:
  CurrentPiece() = default;
  CurrentPiece(const CurrentPiece&) = delete;
  CurrentPiece& operator=(const CurrentPiece&) = delete;
  ~CurrentPiece() { retire(); }

  void* take(std::size_t bytes) {
    constexpr std::size_t kAlignment = alignof(Piece);
    const std::size_t whole = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    if (whole > Piece::kBytes - used_) renew();
    void* const memory = reinterpret_cast<std::byte*>(piece_) + used_;
    used_ += whole;
    ++taken_;
    return memory;
  }

 private:
  // Makes room: in the same piece, when all of it was returned, or else in another one.
  void renew() {
    if (piece_ != nullptr && piece_->in_use.load(std::memory_order_acquire) == -taken_) {
      piece_->in_use.store(0, std::memory_order_relaxed);
    } else {
      LargeMemory memory = make_aligned_memory(Piece::kBytes);
      if (piece_ != nullptr) find_pages(memory);  // who filled one will fill another
      retire();
      piece_ = new (memory.release()) Piece;
    }
    used_ = sizeof(Piece);
    taken_ = 0;
  }

  // From now on the piece belongs to what lies in it.
  void retire() noexcept {
    if (piece_ == nullptr) return;
    if (piece_->in_use.fetch_add(taken_, std::memory_order_acq_rel) == -taken_) give_back(piece_);
    piece_ = nullptr;
    used_ = Piece::kBytes;
  }

  Piece* piece_ = nullptr;
  std::size_t used_ = Piece::kBytes;
  std::int64_t taken_ = 0;
};

thread_local CurrentPiece t_piece;

}  // namespace

void* take_from_pool(std::size_t bytes) { return t_piece.take(bytes); }

void return_to_pool(void* memory) noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  auto* const piece = reinterpret_cast<Piece*>(address / Piece::kBytes * Piece::kBytes);
  if (piece->in_use.fetch_sub(1, std::memory_order_acq_rel) == 1) give_back(piece);
}

#endif

}  // namespace readkit::host
