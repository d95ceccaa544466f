// The program that changes nothing at random: every target runs its seeds, a few changes of each
// that are the same every time, and the files of its folders below corpus/ and regressions/.
//
//   readkit_fuzz_replay FOLDER [NAME...]      FOLDER holds corpus/ and regressions/
//   readkit_fuzz_replay --seeds FOLDER        writes every target's seeds to FOLDER/NAME
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/blocks.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/target.h"
#include "support/bgzf_builder.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr int kChangesOfASeed = 2;
constexpr std::size_t kMostBytes = 4096;

// Flips, cuts and repeats.
void change_bytes(Random& random, std::string& bytes, std::size_t room) {
  for (int n = 0; n < 3 && !bytes.empty(); ++n) {
    const std::size_t at = random() % bytes.size();
    switch (random() % 4) {
      case 0:
        bytes.erase(at, random() % 8);
        break;
      case 1:
        bytes.insert(at, bytes.substr(random() % bytes.size(), random() % 8));
        break;
      default:
        bytes[at] = static_cast<char>(random() & 0xff);
    }
  }
  bytes.resize(std::min(bytes.size(), room));
}

// Whether the changes of files do what they are for: most leave a sound file of other content.
bool changes_reach_behind_the_codec() {
  constexpr int kChanges = 100;
  Random random(2);
  const ChangeBytes bytes = [&random](std::string& text, std::size_t room) {
    change_bytes(random, text, room);
  };
  const std::string file = bam_files().front();
  const std::string content = decode_bgzf(file);
  int sound = 0;
  for (int i = 0; i < kChanges; ++i) {
    try {
      sound += decode_bgzf(change_bam(file, random, bytes, kMostBytes)) != content ? 1 : 0;
    } catch (const std::exception&) {
      // Damage to the blocks is wanted, too.
    }
  }
  std::string damaged = file;
  damaged[damaged.size() - bgzf_marker().size() - 8] ^= 1;  // a checksum
  return sound > kChanges / 2 && repaired_bgzf(damaged) == file;
}

class Replay {
 public:
  // What ends the program instead leaves the name of the input as the last line.
  void run(const Target& target, const std::string& name, const std::string& bytes) {
    std::printf("%s\n", name.c_str());
    std::fflush(stdout);
    ++inputs_;
    try {
      target.run(Input(bytes));
      return;
    } catch (const Finding& finding) {
      std::fprintf(stderr, "%s: %s\n", name.c_str(), finding.text.c_str());
    } catch (const std::exception& e) {
      std::fprintf(stderr, "%s: an exception came through: %s\n", name.c_str(), e.what());
    }
    ++findings_;
  }

  void run_seeds(const Target& target) {
    Random random(1);
    const ChangeBytes bytes = [&random](std::string& text, std::size_t room) {
      change_bytes(random, text, room);
    };
    const std::vector<std::string> seeds = target.seeds();
    for (std::size_t i = 0; i < seeds.size(); ++i) {
      const std::string name = std::string(target.name) + ": seed " + std::to_string(i);
      run(target, name, seeds[i]);
      std::string changed = seeds[i];
      for (int n = 1; n <= kChangesOfASeed; ++n) {
        changed = changed_input(target, changed, random, bytes, kMostBytes);
        run(target, name + ", change " + std::to_string(n), changed);
      }
    }
  }

  // Files that begin with a dot, and notes, are no inputs.
  void run_files(const Target& target, const fs::path& folder) {
    if (!fs::is_directory(folder)) return;
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() != ".txt") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
      std::ifstream in(file, std::ios::binary);
      run(target, file.string(), {std::istreambuf_iterator<char>(in), {}});
    }
  }

  int inputs() const { return inputs_; }
  int findings() const { return findings_; }

 private:
  int inputs_ = 0;
  int findings_ = 0;
};

bool is_wanted(const Target& target, const std::vector<std::string>& names) {
  return names.empty() || std::find(names.begin(), names.end(), target.name) != names.end();
}

int replay(const fs::path& folder, const std::vector<std::string>& names) {
  if (!changes_reach_behind_the_codec()) {
    std::fputs("files are not changed as they should be\n", stderr);
    return 1;
  }
  Replay replay;
  for (const Target& target : targets()) {
    if (!is_wanted(target, names)) continue;
    const int before = replay.inputs();
    replay.run_seeds(target);
    replay.run_files(target, folder / "corpus" / target.name);
    replay.run_files(target, folder / "regressions" / target.name);
    std::printf("%s: %d inputs\n", target.name, replay.inputs() - before);
  }
  std::printf("%d inputs, %d findings\n", replay.inputs(), replay.findings());
  return replay.inputs() > 0 && replay.findings() == 0 ? 0 : 1;
}

int write_seeds(const fs::path& folder) {
  for (const Target& target : targets()) {
    const fs::path place = folder / target.name;
    fs::create_directories(place);
    const std::vector<std::string> seeds = target.seeds();
    for (std::size_t i = 0; i < seeds.size(); ++i) {
      std::ofstream out(place / ("seed" + std::to_string(i)), std::ios::binary);
      out << seeds[i];
      out.close();
      if (!out) return 1;
    }
  }
  return 0;
}

}  // namespace
}  // namespace readkit::fuzz

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) {
    std::fputs("usage: readkit_fuzz_replay FOLDER [NAME...] | --seeds FOLDER\n", stderr);
    return 2;
  }
  if (arguments[0] == "--seeds") {
    return arguments.size() == 2 ? readkit::fuzz::write_seeds(arguments[1]) : 2;
  }
  return readkit::fuzz::replay(arguments[0], {arguments.begin() + 1, arguments.end()});
}
