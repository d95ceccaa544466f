// The program that changes inputs: libFuzzer runs the target that --target=NAME names.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/support/target.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace readkit::fuzz {
namespace {

const Target* chosen = nullptr;

void choose(int argc, char** argv) {
  constexpr std::string_view kOption = "--target=";
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (!argument.starts_with(kOption)) continue;
    for (const Target& target : targets()) {
      if (argument.substr(kOption.size()) == target.name) chosen = &target;
    }
  }
  if (chosen != nullptr) return;
  std::fputs("usage: readkit_fuzz --target=NAME [libFuzzer's options] [FOLDER...]; names:\n",
             stderr);
  for (const Target& target : targets()) std::fprintf(stderr, "  %s\n", target.name);
  std::exit(2);
}

void change_bytes(std::string& bytes, std::size_t room) {
  const std::size_t size = std::min(bytes.size(), room);
  bytes.resize(room);
  auto* const data = reinterpret_cast<std::uint8_t*>(bytes.data());
  bytes.resize(room == 0 ? 0 : LLVMFuzzerMutate(data, size, room));
}

}  // namespace
}  // namespace readkit::fuzz

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  readkit::fuzz::choose(*argc, *argv);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    readkit::fuzz::chosen->run(readkit::fuzz::Input({reinterpret_cast<const char*>(data), size}));
  } catch (const readkit::fuzz::Finding& finding) {
    std::fprintf(stderr, "FINDING: %s\n", finding.text.c_str());
    std::abort();
  }
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed) {
  // Most of what a quick target does is what stands around it.
  if (readkit::fuzz::chosen->change == nullptr) return LLVMFuzzerMutate(data, size, max_size);
  readkit::Random random(seed);
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::string changed = readkit::fuzz::changed_input(*readkit::fuzz::chosen, input, random,
                                                           readkit::fuzz::change_bytes, max_size);
  const std::size_t changed_size = std::min(changed.size(), max_size);
  std::memcpy(data, changed.data(), changed_size);
  return changed_size;
}

// Freed memory is kept for a while, so that its use is noticed; by default more of it than a
// fuzzing process may have.
extern "C" const char* __asan_default_options() { return "quarantine_size_mb=16"; }
