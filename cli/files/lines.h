// Pieces of text in, whole lines out.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace readkit::cli {

class Lines {
 public:
  /// `take` gets every line without its newline; the view is valid during the call.
  explicit Lines(std::function<void(std::string_view)> take) : take_(std::move(take)) {}

  void add(std::string_view piece) {
    for (std::size_t end = piece.find('\n'); end != std::string_view::npos;
         end = piece.find('\n')) {
      if (rest_.empty()) {
        take_(piece.substr(0, end));
      } else {
        rest_.append(piece.substr(0, end));
        take_(rest_);
        rest_.clear();
      }
      piece.remove_prefix(end + 1);
    }
    rest_.append(piece);
  }
  /// The last line, when no newline ended it.
  void finish() {
    if (!rest_.empty()) take_(rest_);
    rest_.clear();
  }

 private:
  std::function<void(std::string_view)> take_;
  std::string rest_;
};

}  // namespace readkit::cli
