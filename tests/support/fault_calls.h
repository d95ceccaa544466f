// Every gateway function on sound files, with the whole of what each call gives.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/gateway_calls.h"
#include "support/hostile_calls.h"
#include "support/sort_words.h"

namespace readkit {

/// A call whose inputs are ready, so that nothing but the call itself happens.
struct FaultCall {
  std::string name;
  std::function<Outputs()> run;  ///< raises HostError
  bool is_random = false;        ///< its output has another order every time
  bool reads_text = false;       ///< cannot know where its input should end
};

/// A folder of files that belong together, and the calls on them. A call makes the files "out",
/// "new.bai", "t.*" or none.
class FaultFolder {
 public:
  /// A file in coordinate order, and reads in any; SAM text can hold both.
  FaultFolder(const BamBuilder& sorted, const Reads& unsorted);

  const TempDir& folder() const { return place_.files().folder(); }
  /// All registered functions and those that are only exported, in the library of this
  /// program's flavour; and the sorts and the shuffle with several runs and their temporaries. They
  /// live as long as this object.
  std::vector<FaultCall> calls() const;
  /// Removes what the calls have made.
  void remove_outputs() const;
  /// The files that the calls have made, by their names.
  std::map<std::string, std::string> outputs() const;
  /// The files that stood there before.
  std::map<std::string, std::string> sources() const;

 private:
  std::map<std::string, std::string> files(bool of_calls) const;

  HostileFolder place_;
  Names sources_;
};

}  // namespace readkit
